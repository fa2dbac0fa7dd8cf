#pragma once

#include <cstdint>

/// What the virtual unit does with bytes, and a library would do elsewhere: it also goes into a kernel driver.
namespace virtualbytes {

inline uint32_t smaller(uint32_t left, uint32_t right)
{
    return left < right ? left : right;
}

/// From the first byte to the last: a target that begins before its source may overlap it.
inline void copy(uint8_t *to, const uint8_t *from, uint32_t count)
{
    for (uint32_t index = 0; index < count; ++index)
        to[index] = from[index];
}

inline void clear(void *memory, uint32_t count)
{
    for (uint32_t index = 0; index < count; ++index)
        static_cast<uint8_t *>(memory)[index] = 0;
}

} // namespace virtualbytes
