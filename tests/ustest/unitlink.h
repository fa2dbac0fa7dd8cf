#pragma once

#include "usctl.h"
#include "virtualplatform.h"
#include "virtualunit.h"

#include <cstdint>
#include <string_view>

/**
 * A virtual unit, plugged in and found by the link, behind whose seam no pause takes any time. One at a time; the
 * default platform is back when it goes.
 */
class UnitLink
{
public:
    UnitLink();
    ~UnitLink();
    UnitLink(const UnitLink &) = delete;
    UnitLink &operator=(const UnitLink &) = delete;

    void add_fault(uint32_t kind, uint32_t first, uint32_t count, uint32_t parameter = 0);

    virtualunit_t model;
    usdev_list_t list = {};
    usdev_t *unit = nullptr;
};

/// A kind of fault with its name for failure messages.
struct FaultKind
{
    std::string_view name;
    uint32_t kind;
};

inline constexpr FaultKind fault_kinds[] = {
    {"stall", VIRTUALUNIT_FAULT_STALL}, {"late", VIRTUALUNIT_FAULT_LATE},   {"hard", VIRTUALUNIT_FAULT_HARD},
    {"short", VIRTUALUNIT_FAULT_SHORT}, {"stale", VIRTUALUNIT_FAULT_STALE}, {"garbled", VIRTUALUNIT_FAULT_GARBLED},
    {"busy", VIRTUALUNIT_FAULT_BUSY},   {"mute", VIRTUALUNIT_FAULT_MUTE},   {"unplug", VIRTUALUNIT_FAULT_UNPLUG},
};

/// What the host meets when it reads a block with a fault.
enum class ReadEffect {
    Fails, ///< it gets no block
    Busy, ///< it gets a block that says busy
    Empty, ///< it gets a block that says nothing new; the answers come later
    Lost, ///< it gets a block that says nothing; the answers are lost
};

/// What the host meets when it writes a message with a fault.
enum class WriteEffect {
    Again, ///< the unit did not respond: worth another attempt
    Lost, ///< it counts as sent, but the unit has not carried it out
    None, ///< it was carried out
};

ReadEffect read_effect(uint32_t kind);
WriteEffect write_effect(uint32_t kind);
