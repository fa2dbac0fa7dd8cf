#include "virtualbytes.h"

namespace virtualbytes {

uint32_t smaller(uint32_t left, uint32_t right)
{
    return left < right ? left : right;
}

void copy(uint8_t *to, const uint8_t *from, uint32_t count)
{
    for (uint32_t index = 0; index < count; ++index)
        to[index] = from[index];
}

void clear(void *memory, uint32_t count)
{
    for (uint32_t index = 0; index < count; ++index)
        static_cast<uint8_t *>(memory)[index] = 0;
}

} // namespace virtualbytes
