#pragma once

#include "usmsg.h"

#include <cstdint>

/**
 * Elements as they are read, for C++: what usmsg_get() stores, and the one place where an address from it is followed.
 *
 * Otherwise as usmsg_get(): no I/O but its line, nothing allocated; a cursor and its bytes belong to one thread at a
 * time.
 */
namespace uselement {

/// An element as it was read. It owns nothing.
struct element_t
{
    uint32_t id = 0; ///< usmsg_id_t, or an unknown one
    uint32_t type = 0; ///< usmsg_data_type_t
    uint64_t value = 0; ///< the number, or an address: that only bytes() may follow
    uint8_t length = 0; ///< size of the value in bytes

    /// The bytes of a byte string, inside the message; null for any other type, whose value is no address.
    const uint8_t *bytes() const
    {
        if (type != USMSG_DATA_TYPE_BYTES)
            return nullptr;
        return reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(value));
    }
};

/**
 * Reads the element at the cursor and moves on.
 *
 * @param element  receives it; unchanged when there is none
 * @return false where usmsg_get() reads nothing: at the end of the message, at an invalid type, at an element that is
 *         cut short
 */
inline bool next(usmsg_buf_t *buf, element_t *element)
{
    return usmsg_get(buf, &element->id, &element->type, &element->value, &element->length) == 0;
}

} // namespace uselement
