#include "virtualscript.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace {

struct kind_t
{
    std::string_view name;
    virtualunit_fault_kind_t kind;
};

constexpr kind_t kinds[] = {
    {"stall", VIRTUALUNIT_FAULT_STALL}, {"late", VIRTUALUNIT_FAULT_LATE},   {"hard", VIRTUALUNIT_FAULT_HARD},
    {"short", VIRTUALUNIT_FAULT_SHORT}, {"stale", VIRTUALUNIT_FAULT_STALE}, {"garbled", VIRTUALUNIT_FAULT_GARBLED},
    {"busy", VIRTUALUNIT_FAULT_BUSY},   {"mute", VIRTUALUNIT_FAULT_MUTE},   {"unplug", VIRTUALUNIT_FAULT_UNPLUG},
};

std::string quoted(std::string_view text)
{
    std::string result = "\"";
    result += text;
    result += '"';
    return result;
}

bool read_number(std::string_view text, uint32_t *number)
{
    const char *const end = text.data() + text.size();
    const auto [stopped, failure] = std::from_chars(text.data(), end, *number);
    return failure == std::errc() && stopped == end;
}

/// Cuts the text at its last `mark`; gives what stood after it, or nothing when there is no such mark.
bool cut(std::string_view *text, char mark, std::string_view *behind)
{
    const size_t at = text->rfind(mark);
    if (at == std::string_view::npos)
        return false;
    *behind = text->substr(at + 1);
    *text = text->substr(0, at);
    return true;
}

/// One text on its way into a unit. The first complaint ends it.
class reader_t
{
public:
    reader_t(virtualunit_t *unit, std::string *error)
        : m_unit(unit)
        , m_error(error)
    {
    }

    bool read_item(std::string_view item)
    {
        const size_t equals = item.find('=');
        if (equals == std::string_view::npos)
            return read_fault(item);
        return read_setting(item.substr(0, equals), item.substr(equals + 1));
    }

private:
    bool complain(const std::string &words)
    {
        *m_error = words;
        return false;
    }

    bool read_setting(std::string_view name, std::string_view value)
    {
        if (name == "product")
            return read_product(value);
        if (name == "debug") {
            virtualunit_say(m_unit, value.data(), static_cast<uint32_t>(value.size()));
            return true;
        }
        if (name == "allowance")
            return read_field(value, &m_unit->firmware.allowance);
        if (name == "busy")
            return read_field(value, &m_unit->busy_reads_after_write);
        if (name == "hz")
            return read_field(value, &m_unit->hz);
        return complain(quoted(name) + " is no setting of a virtual unit");
    }

    bool read_product(std::string_view name)
    {
        if (name.empty() || name.size() >= VIRTUALUNIT_TEXT_SIZE)
            return complain("a product's name has 1 to " + std::to_string(VIRTUALUNIT_TEXT_SIZE - 1) + " bytes");
        std::fill(std::begin(m_unit->product), std::end(m_unit->product), '\0');
        std::copy(name.begin(), name.end(), m_unit->product);
        return true;
    }

    bool read_field(std::string_view text, uint32_t *number)
    {
        return read_number(text, number) || complain(quoted(text) + " is no number");
    }

    bool read_count(std::string_view text, uint32_t *count)
    {
        if (text == "ever") {
            *count = VIRTUALUNIT_FOREVER;
            return true;
        }
        if (!read_field(text, count))
            return false;
        return *count != 0 || complain("a fault lasts for one transfer at least");
    }

    bool read_kind(std::string_view name, virtualunit_fault_t *fault)
    {
        const auto *const kind =
            std::find_if(std::begin(kinds), std::end(kinds), [&](const kind_t &known) { return known.name == name; });
        if (kind == std::end(kinds))
            return complain(quoted(name) + " is no fault of a virtual unit");
        fault->kind = kind->kind;
        return true;
    }

    bool read_parameter(bool is_told, std::string_view text, virtualunit_fault_t *fault)
    {
        if (fault->kind != VIRTUALUNIT_FAULT_SHORT)
            return !is_told || complain("only short takes a number of bytes");
        if (!is_told || !read_number(text, &fault->parameter) || fault->parameter >= VIRTUALUNIT_BLOCK_SIZE)
            return complain("short needs a number of bytes from 0 to " + std::to_string(VIRTUALUNIT_BLOCK_SIZE - 1));
        return true;
    }

    bool read_fault(std::string_view item)
    {
        virtualunit_fault_t fault = {VIRTUALUNIT_FAULT_NONE, 0, 1, 0};
        std::string_view part;
        if (cut(&item, '@', &part) && !read_field(part, &fault.first))
            return false;
        if (cut(&item, '*', &part) && !read_count(part, &fault.count))
            return false;
        const bool has_parameter = cut(&item, ':', &part);
        if (!read_kind(item, &fault) || !read_parameter(has_parameter, part, &fault))
            return false;
        if (virtualunit_add_fault(m_unit, fault) != 0)
            return complain("a virtual unit has " + std::to_string(VIRTUALUNIT_FAULTS) + " faults at most");
        return true;
    }

    virtualunit_t *m_unit;
    std::string *m_error;
};

} // namespace

bool virtualscript::apply(std::string_view text, virtualunit_t *unit, std::string *error)
{
    virtualunit_t changed = *unit;
    reader_t reader(&changed, error);
    while (!text.empty()) {
        const size_t comma = text.find(',');
        if (!reader.read_item(text.substr(0, comma)))
            return false;
        if (comma == text.size() - 1) {
            *error = "nothing stands behind the last comma";
            return false;
        }
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    }
    *unit = changed;
    return true;
}
