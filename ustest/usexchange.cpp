#include "usexchange.h"

namespace usexchange {

int send_when_ready(usdev_t **unit, message_t *message)
{
    if (usmsg_put(&message->buf, USMSG_ID_END, USMSG_DATA_TYPE_END, 0, 0) != 0)
        return fail();
    if (usctl_wait_ready(unit) != 0)
        return fail();
    if (usctl_send(unit, &message->buf) != 0)
        return fail();
    return 0;
}

} // namespace usexchange
