#pragma once

#include "session.h"

#include <cstdint>
#include <string>

namespace kdmxctl {

/// Who the unit is.
struct Identity
{
    std::string product;
    uint16_t version = 0;
    uint16_t build = 0;
    std::string build_date;
    std::string build_time;
    std::string info;
};

/// Asks for product, version and build number. A text that the unit leaves empty is empty; a number must be answered.
Identity read_short_identity(Session *session);

/// Asks for all of it.
Identity read_identity(Session *session);

/// A text of the unit for people: "not told" for an empty one.
std::string shown_text(const std::string &text);

/// A version or build number for people: "291 (0x0123)".
std::string version_text(uint16_t number);

} // namespace kdmxctl
