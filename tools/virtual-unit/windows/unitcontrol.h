#pragma once

#include "virtualunit.h"

#include <cstdint>

/**
 * What tests and tools say to the driver of the virtual unit, past the unit's own protocol: I/O control codes beside
 * the one for transfers, on the same control path. A real driver has none of them.
 *
 * Both sides are built from this header and from the same virtualunit.h; the driver refuses records of another size
 * with STATUS_INFO_LENGTH_MISMATCH.
 */

/// Gives a unitcontrol_state_t.
inline constexpr uint32_t UNITCONTROL_GET_STATE = 0x00222400;

/// Takes a virtualunit_t: from now on this is the unit.
inline constexpr uint32_t UNITCONTROL_SET_UNIT = 0x00222404;

/// Takes a uint32_t: 1 holds each further transfer in the driver, 0 lets them go and carries out those held.
inline constexpr uint32_t UNITCONTROL_HOLD = 0x00222408;

/// The unit, and what the driver counts beside it.
struct unitcontrol_state_t
{
    virtualunit_t unit;
    uint32_t opened; ///< how often the device was opened, for this question too
    uint32_t closed; ///< how often it was closed
    uint32_t is_holding;
    uint32_t held; ///< transfers that wait in the driver now
    uint32_t called_off; ///< transfers that their caller called off while they waited
};
