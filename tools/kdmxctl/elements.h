#pragma once

#include <cstdint>
#include <string>
#include <vector>

/**
 * Messages as people read them.
 */
namespace kdmxctl {

/// One element of a message.
struct Element
{
    uint32_t id; ///< usmsg_id_t, or one that this program does not know
    uint32_t type; ///< usmsg_data_type_t
    uint64_t number; ///< the value; 0 for byte strings and bare elements
    std::string bytes; ///< of a byte string

    bool has_number() const;
    bool has_bytes() const;
};

/// A message in its parts.
struct Message
{
    std::vector<Element> elements;
    std::string flaw; ///< why the reading ended before the end of the message, in words; empty if it did not
};

/// Takes a message apart, without the lines that the link's own reading would print about it.
Message decode(const uint8_t *bytes, size_t length);

/// The name of an element: "ready", "fader"; "element 0x99" for one without a name.
std::string element_name(uint32_t id);

/// The value for people: "1", "\"KD-MX2\"", "line-out"; empty for a bare element.
std::string element_value(const Element &element);

/// A whole message on one line: "channel line-out, number 1, fader 100".
std::string describe(const Message &message);

} // namespace kdmxctl
