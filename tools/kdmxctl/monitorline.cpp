#include "monitorline.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace kdmxctl {

namespace {

struct Character
{
    uint32_t code = 0;
    size_t length = 1;
};

struct Range
{
    uint32_t first;
    uint32_t last;
};

// Scripts whose characters are two columns wide.
constexpr Range wide_ranges[] = {{0x1100, 0x115F}, {0x2E80, 0x303E}, {0x3041, 0xA4CF}, {0xAC00, 0xD7A3},
                                 {0xF900, 0xFAFF}, {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}};

/// The first character of a text that is not empty. The texts here are well-formed.
Character first_of(std::string_view text)
{
    const auto lead = static_cast<uint8_t>(text.front());
    if (lead < 0x80)
        return {lead, 1};
    const size_t length = std::min<size_t>(lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2, text.size());
    uint32_t code = lead & (0xFFU >> (length + 1));
    for (size_t at = 1; at < length; ++at)
        code = code << 6 | (static_cast<uint8_t>(text[at]) & 0x3FU);
    return {code, length};
}

unsigned width_of(uint32_t code)
{
    const auto holds = [code](const Range &range) { return code >= range.first && code <= range.last; };
    return std::any_of(std::begin(wide_ranges), std::end(wide_ranges), holds) ? 2 : 1;
}

const char *begin_of(TextStyle style)
{
    switch (style) {
    case TextStyle::Bold:
        return "\x1b[1m";
    case TextStyle::Faint:
        return "\x1b[2m";
    case TextStyle::Plain:
        break;
    }
    return "";
}

} // namespace

unsigned columns_of(std::string_view text)
{
    unsigned columns = 0;
    while (!text.empty()) {
        const Character character = first_of(text);
        columns += width_of(character.code);
        text.remove_prefix(character.length);
    }
    return columns;
}

std::string_view clipped(std::string_view text, unsigned columns)
{
    size_t length = 0;
    unsigned used = 0;
    while (length < text.size()) {
        const Character character = first_of(text.substr(length));
        used += width_of(character.code);
        if (used > columns)
            break;
        length += character.length;
    }
    return text.substr(0, length);
}

MonitorLine &MonitorLine::add(std::string text, TextStyle style)
{
    if (!text.empty())
        m_pieces.push_back({std::move(text), style});
    return *this;
}

MonitorLine &MonitorLine::fill_to(unsigned column)
{
    const unsigned used = columns();
    if (used > 0 || column > 0)
        add(std::string(column > used ? column - used : 1, ' '));
    return *this;
}

unsigned MonitorLine::columns() const
{
    unsigned columns = 0;
    for (const Piece &piece : m_pieces)
        columns += columns_of(piece.text);
    return columns;
}

std::string MonitorLine::sequence(unsigned columns) const
{
    std::string sequence;
    unsigned used = 0;
    for (const Piece &piece : m_pieces) {
        const std::string_view text = clipped(piece.text, columns - used);
        const bool is_styled = piece.style != TextStyle::Plain;
        sequence.append(begin_of(piece.style)).append(text).append(is_styled ? "\x1b[0m" : "");
        used += columns_of(text);
        if (text.size() < piece.text.size())
            break;
    }
    return sequence;
}

} // namespace kdmxctl
