#pragma once

#include "virtualelements.h"
#include "virtualunit.h"

#include <cstdint>

/// The firmware transfer, as the virtual unit carries it out.
namespace virtualfirmware {

/// A new image of `size` bytes is announced; what came of another one is forgotten.
void begin(virtualunit_firmware_t *firmware, uint32_t size);

/// Grants the next bytes, and appends the answer about it.
void append_status(virtualunit_firmware_t *firmware, virtualelements::group_t *group);

/// Takes a data block, or counts it as a misfit.
void take_data(virtualunit_firmware_t *firmware, const virtualelements::element_t &element);

} // namespace virtualfirmware
