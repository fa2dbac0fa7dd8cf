#include "usexchange.h"

#include "usdiagnostics.h"

namespace usexchange {

int send_when_ready(usdev_t **unit, message_t *message)
{
    if (usmsg_put(&message->buf, USMSG_ID_END, USMSG_DATA_TYPE_END, 0, 0) != 0)
        return usdiagnostics::print_error(module_path);
    if (usctl_wait_ready(unit) != 0)
        return usdiagnostics::print_error(module_path);
    if (usctl_send(unit, &message->buf) != 0)
        return usdiagnostics::print_error(module_path);
    return 0;
}

} // namespace usexchange
