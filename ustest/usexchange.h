#pragma once

#include "usctl.h"
#include "usdiagnostics.h"
#include "uselement.h"

/**
 * What the control commands and the firmware transfer have in common. Internal to the module usctl: its diagnostic
 * lines carry that module's path.
 */
namespace usexchange {

/// Prints the error line of the module for the calling line; 1, the result of a failed step.
inline int fail(int line = __builtin_LINE())
{
    return usdiagnostics::print_error("../../ustest/usctl.cpp", line);
}

/// A message of the largest size with its own, cleared bytes, and the cursor at its start.
struct message_t
{
    uint8_t bytes[USMSG_MAX_SIZE] = {};
    usmsg_buf_t buf = {bytes, USMSG_MAX_SIZE, 0};

    message_t() = default;
    message_t(const message_t &) = delete;
    message_t &operator=(const message_t &) = delete;
};

using uselement::element_t;

/// Reads the next element of a block; false at its end.
inline bool next_element(message_t *block, element_t *element)
{
    return uselement::next(&block->buf, element);
}

/**
 * Ends a message, waits until the unit is ready and sends it.
 *
 * @return 0, or 1 after a line that identifies the step
 */
int send_when_ready(usdev_t **unit, message_t *message);

} // namespace usexchange
