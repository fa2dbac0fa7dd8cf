#pragma once

#include "virtualunit.h"

#include <cstdint>

/// What the script of a virtual unit says about a transfer, and what that does to it.
namespace virtualfaults {

/// The fault that counts for a transfer; of kind VIRTUALUNIT_FAULT_NONE when there is none.
virtualunit_fault_t of_transfer(const virtualunit_t *unit, uint32_t transfer);

/// Whether the unit has been pulled out when the next transfer begins.
bool is_pulled_out(const virtualunit_t *unit);

/// How a transfer with a fault of this kind ends for the host.
virtualunit_result_t result_of(uint32_t kind);

/**
 * Fills a block with what only looks like elements: none that is whole has a known identifier.
 *
 * @param transfer  its number; the same gives the same block
 */
void garble(uint32_t transfer, uint8_t *block);

} // namespace virtualfaults
