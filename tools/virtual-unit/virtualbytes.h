#pragma once

#include <cstdint>

/// Byte functions in place of a library's: the virtual unit also goes into a kernel driver.
namespace virtualbytes {

uint32_t smaller(uint32_t left, uint32_t right);

/// From the first byte to the last: a target that begins before its source may overlap it.
void copy(uint8_t *to, const uint8_t *from, uint32_t count);

/// Makes all of it zero.
void clear(void *memory, uint32_t count);

} // namespace virtualbytes
