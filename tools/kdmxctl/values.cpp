#include "values.h"

#include "channelnames.h"
#include "failure.h"
#include "usmsg.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>

namespace kdmxctl {

namespace {

std::optional<uint64_t> parse_number(std::string_view text)
{
    const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (is_hexadecimal)
        text.remove_prefix(2);
    uint64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, is_hexadecimal ? 16 : 10);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

Failure not_possible(std::string_view what, const std::string &text, const std::string &possible)
{
    return bad_argument(std::string(what) + " is " + possible + ", not \"" + printable(text) + "\".");
}

std::string range(uint32_t least, uint32_t most)
{
    return std::to_string(least) + " to " + std::to_string(most);
}

/// Size in bytes of the control character that a text begins with; 0 if it begins with something else.
size_t control_length(std::string_view text)
{
    const auto first = static_cast<uint8_t>(text[0]);
    if (first < 0x20 || first == 0x7F)
        return 1;
    if (first != 0xC2 || text.size() == 1)
        return 0;
    // U+0080 to U+009F, in UTF-8. Terminals obey some of them.
    const auto second = static_cast<uint8_t>(text[1]);
    return second >= 0x80 && second <= 0x9F ? 2 : 0;
}

std::string escaped(char byte)
{
    char text[5];
    std::snprintf(text, sizeof(text), "\\x%02x", unsigned{static_cast<uint8_t>(byte)});
    return text;
}

} // namespace

uint32_t number_argument(std::string_view what, const std::string &text, uint32_t least, uint32_t most)
{
    const std::optional<uint64_t> number = parse_number(text);
    if (!number || *number < least || *number > most)
        throw not_possible(what, text, "a number from " + range(least, most));
    return static_cast<uint32_t>(*number);
}

uint8_t switch_argument(std::string_view what, const std::string &text)
{
    if (text == "on" || text == "1")
        return 1;
    if (text == "off" || text == "0")
        return 0;
    throw not_possible(what, text, "on or off");
}

uint8_t stereo_argument(std::string_view what, const std::string &text)
{
    if (const std::optional<uint32_t> mode = stereo_of(text))
        return static_cast<uint8_t>(*mode);
    const std::optional<uint64_t> number = parse_number(text);
    if (!number || *number > UINT8_MAX)
        throw not_possible(what, text, "mono, stereo or a number from " + range(0, UINT8_MAX));
    return static_cast<uint8_t>(*number);
}

uint32_t channel_argument(std::string_view what, const std::string &text)
{
    const std::optional<uint32_t> ch = channel_of(text);
    if (!ch)
        throw not_possible(what, text, "one of " + channel_names());
    return *ch;
}

std::vector<uint8_t> bytes_argument(std::string_view what, const std::vector<std::string> &words)
{
    std::vector<uint8_t> bytes;
    for (const std::string &word : words) {
        if (word.size() % 2 != 0)
            throw not_possible(what, word, "pairs of hexadecimal digits");
        for (size_t at = 0; at < word.size(); at += 2) {
            const char *const pair = word.data() + at;
            uint8_t byte = 0;
            if (std::from_chars(pair, pair + 2, byte, 16).ptr != pair + 2)
                throw not_possible(what, word, "pairs of hexadecimal digits");
            bytes.push_back(byte);
        }
    }
    if (bytes.empty() || bytes.size() > USMSG_MAX_SIZE)
        throw bad_argument("A message has " + range(1, USMSG_MAX_SIZE) + " bytes, not " + std::to_string(bytes.size())
                           + ".");
    return bytes;
}

const char *switch_name(uint32_t value)
{
    return value != 0 ? "on" : "off";
}

std::string hex(const uint8_t *bytes, size_t length)
{
    std::string text;
    char pair[4];
    for (size_t at = 0; at < length; ++at) {
        std::snprintf(pair, sizeof(pair), at == 0 ? "%02x" : " %02x", unsigned{bytes[at]});
        text += pair;
    }
    return text;
}

std::string printable(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const size_t length = control_length(text);
        if (length == 0)
            shown += text.front();
        for (const char byte : text.substr(0, length))
            shown += escaped(byte);
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return shown;
}

} // namespace kdmxctl
