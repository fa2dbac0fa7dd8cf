#include "elements.h"

#include "channelnames.h"
#include "uselement.h"
#include "usmsg.h"
#include "values.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <string_view>

namespace kdmxctl {

namespace {

struct Name
{
    uint32_t id;
    std::string_view name;
};

constexpr std::array names = {
    Name{USMSG_ID_DEBUG, "debug"},
    Name{USMSG_ID_SET_U8, "set-u8"},
    Name{USMSG_ID_GET_AUTOPOWERSAVE, "get-power-save"},
    Name{USMSG_ID_AUTOPOWERSAVE, "power-save"},
    Name{USMSG_ID_SET_U32, "set-u32"},
    Name{USMSG_ID_HZ, "rate"},
    Name{USMSG_ID_FW_BEGIN, "firmware-begin"},
    Name{USMSG_ID_FW_STATUS, "firmware-status"},
    Name{USMSG_ID_FW_ROOM, "firmware-room"},
    Name{USMSG_ID_FW_OFFSET, "firmware-offset"},
    Name{USMSG_ID_FW_DATA, "firmware-data"},
    Name{USMSG_ID_FW_DATA_LAST, "firmware-data-last"},
    Name{USMSG_ID_QUERY_U32, "query"},
    Name{USMSG_ID_ANSWER_U32, "answer"},
    Name{USMSG_ID_IDENTITY, "identity"},
    Name{USMSG_ID_VERSION, "version"},
    Name{USMSG_ID_BUILD, "build"},
    Name{USMSG_ID_PRODUCTNAME, "product"},
    Name{USMSG_ID_BUILDDATE, "build-date"},
    Name{USMSG_ID_BUILDTIME, "build-time"},
    Name{USMSG_ID_INFO, "info"},
    Name{USMSG_ID_ROUTE_SOURCE, "route-source"},
    Name{USMSG_ID_ROUTE_DESTINATION, "route-destination"},
    Name{USMSG_ID_ROUTE_COMPLETE, "route-complete"},
    Name{USMSG_ID_CH, "channel"},
    Name{USMSG_ID_CH_NO, "number"},
    Name{USMSG_ID_SET_FADER, "set-fader"},
    Name{USMSG_ID_SET_MUTE, "set-mute"},
    Name{USMSG_ID_SET_STEREO, "set-stereo"},
    Name{USMSG_ID_READY, "ready"},
    Name{USMSG_ID_COMMAND_A2, "command-a2"},
    Name{USMSG_ID_GET_FADER, "fader"},
    Name{USMSG_ID_GET_MUTE, "mute"},
    Name{USMSG_ID_GET_STEREO, "stereo"},
};

std::string hexadecimal(uint32_t number)
{
    char text[11];
    std::snprintf(text, sizeof(text), "0x%02x", number);
    return text;
}

bool is_firmware_data(uint32_t id)
{
    return id == USMSG_ID_FW_DATA || id == USMSG_ID_FW_DATA_LAST;
}

/// Why the reading stops at the cursor; empty at the proper end of a message.
std::string flaw_at(const uint8_t *bytes, uint8_t length, uint8_t pos)
{
    // A message that is exactly full needs no end element.
    if (pos == length)
        return {};
    if (length - pos == 1)
        return "half an element at the end";
    const uint8_t type = bytes[pos + 1];
    if (type == USMSG_DATA_TYPE_END)
        return {};
    if (type > USMSG_DATA_TYPE_BYTES)
        return "unknown type " + hexadecimal(type) + " at byte " + std::to_string(pos);
    return element_name(bytes[pos]) + " is cut short at byte " + std::to_string(pos);
}

/// Whether usmsg_get() would print a line about the type at the cursor.
bool has_unknown_type(const usmsg_buf_t &buf)
{
    return buf.size - buf.pos >= 2 && buf.data[buf.pos + 1] > USMSG_DATA_TYPE_BYTES;
}

} // namespace

bool Element::has_number() const
{
    return type == USMSG_DATA_TYPE_U8 || type == USMSG_DATA_TYPE_U16 || type == USMSG_DATA_TYPE_U32;
}

bool Element::has_bytes() const
{
    return type == USMSG_DATA_TYPE_BYTES;
}

Message decode(const uint8_t *bytes, size_t length)
{
    uint8_t copy[USMSG_MAX_SIZE] = {};
    const auto size = static_cast<uint8_t>(std::min(length, std::size(copy)));
    std::copy_n(bytes, size, copy);
    usmsg_buf_t buf;
    usmsg_init(&buf, copy, size);

    Message message;
    uselement::element_t read;
    while (!has_unknown_type(buf) && uselement::next(&buf, &read)) {
        Element element = {read.id, read.type, 0, {}};
        if (element.has_bytes())
            element.bytes.assign(read.bytes(), read.bytes() + read.length);
        else
            element.number = read.value;
        message.elements.push_back(std::move(element));
    }
    message.flaw = flaw_at(copy, size, buf.pos);
    return message;
}

std::string element_name(uint32_t id)
{
    const auto *const found =
        std::find_if(names.begin(), names.end(), [&](const Name &entry) { return entry.id == id; });
    return found != names.end() ? std::string(found->name) : "element " + hexadecimal(id);
}

std::string element_value(const Element &element)
{
    if (element.has_bytes() && is_firmware_data(element.id))
        return std::to_string(element.bytes.size()) + " bytes";
    if (element.has_bytes())
        return '"' + printable(element.bytes) + '"';
    if (!element.has_number())
        return {};
    const auto number = static_cast<uint32_t>(element.number);
    if (element.id == USMSG_ID_CH)
        return channel_name(number);
    if (element.id == USMSG_ID_GET_STEREO || element.id == USMSG_ID_SET_STEREO)
        return stereo_name(number);
    return std::to_string(number);
}

std::string describe(const Message &message)
{
    std::string text;
    for (const Element &element : message.elements) {
        const std::string value = element_value(element);
        text += (text.empty() ? "" : ", ") + element_name(element.id) + (value.empty() ? "" : " ") + value;
    }
    if (!message.flaw.empty())
        text += (text.empty() ? "" : ", ") + message.flaw;
    return text.empty() ? "nothing" : text;
}

} // namespace kdmxctl
