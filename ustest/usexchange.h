#pragma once

#include "usctl.h"
#include "usdiagnostics.h"

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

/// An element as it was read.
struct element_t
{
    uint32_t id = 0;
    uint32_t type = 0;
    uint64_t value = 0;
    uint8_t length = 0;

    /// The bytes of a byte string, inside the message; null for any other type, whose value is no address.
    const uint8_t *bytes() const
    {
        if (type != USMSG_DATA_TYPE_BYTES)
            return nullptr;
        return reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(value));
    }
};

/// Reads the next element of a block; false at its end.
inline bool next_element(message_t *block, element_t *element)
{
    return usmsg_get(&block->buf, &element->id, &element->type, &element->value, &element->length) == 0;
}

/**
 * Ends a message, waits until the unit is ready and sends it.
 *
 * @return 0, or 1 after a line that identifies the step
 */
int send_when_ready(usdev_t **unit, message_t *message);

} // namespace usexchange
