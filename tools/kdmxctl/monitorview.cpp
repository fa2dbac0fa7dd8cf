#include "monitorview.h"

#include "channelnames.h"
#include "hints.h"
#include "identity.h"
#include "values.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace kdmxctl {

namespace {

constexpr unsigned value_column = 17;
constexpr unsigned footer_gap = 2;

constexpr unsigned narrowest_bar = 8;
constexpr unsigned widest_bar = 51;
constexpr unsigned number_width = 3;
constexpr unsigned highest_level = 255;

/// What pictures are made of.
struct Symbols
{
    const char *full;
    const char *empty;
    const char *rule;
    const char *unknown;
    const char *pending;
};

constexpr Symbols utf8_symbols = {"█", "░", "─", "–", "…"};
constexpr Symbols ascii_symbols = {"#", "-", "-", "-", "..."};

struct KeyHint
{
    const char *keys;
    const char *meaning;
};

constexpr KeyHint key_hints[] = {{"+/-", "volume"},   {"1 2", "inputs"}, {"m", "mono/stereo"},
                                 {"p", "power save"}, {"r", "refresh"},  {"q", "quit"}};

const char *status_text(UnitStatus status)
{
    switch (status) {
    case UnitStatus::Searching:
        return "looking for the unit";
    case UnitStatus::Connected:
        return "connected";
    case UnitStatus::Busy:
        return "busy";
    case UnitStatus::NoUnit:
        return "no unit";
    case UnitStatus::NoPermission:
        return "no permission";
    case UnitStatus::InUse:
        return "in use";
    case UnitStatus::NotResponding:
        return "not responding";
    case UnitStatus::Failed:
        return "transfer failed";
    }
    return "";
}

/// What a person can do; empty when there is nothing.
std::string advice(UnitStatus status)
{
    switch (status) {
    case UnitStatus::NoUnit:
        return "Connect the unit by USB and switch it on. It appears here by itself.";
    case UnitStatus::NoPermission:
        return hints::no_permission();
    case UnitStatus::InUse:
        return "Another program is using the unit. It appears here when that program has ended.";
    default:
        return {};
    }
}

std::string repeated(const char *symbol, unsigned count)
{
    std::string text;
    for (unsigned index = 0; index < count; ++index)
        text += symbol;
    return text;
}

/// A text as the terminal can show it.
std::string shown(const std::string &text, bool is_utf8)
{
    if (is_utf8)
        return printable(text);
    std::string ascii;
    for (const char character : text) {
        // The bytes after a character's first one stand for nothing by themselves.
        if ((static_cast<unsigned char>(character) & 0xC0U) != 0x80)
            ascii += static_cast<unsigned char>(character) < 0x80 ? character : '?';
    }
    return printable(ascii);
}

/// Composes the rows.
class Composer
{
public:
    Composer(const MonitorState &state, Screen::Size size, bool is_utf8)
        : m_state(state)
        // The last column stays free: some terminals go to the next line when it is written.
        , m_columns(std::max(size.columns, 2U) - 1)
        , m_height(std::max(size.rows, 1U))
        , m_is_utf8(is_utf8)
        , m_symbols(is_utf8 ? utf8_symbols : ascii_symbols)
    {
    }

    std::vector<MonitorLine> rows() const
    {
        const std::vector<MonitorLine> below = footer();
        if (below.size() >= m_height)
            return cut(body(true), m_height);
        const unsigned room = m_height - static_cast<unsigned>(below.size());
        std::vector<MonitorLine> all = body(false);
        // Room is made by leaving out what only divides.
        if (all.size() > room)
            all = body(true);
        all = cut(std::move(all), room);
        add_debug(&all, room);
        all.resize(room);
        all.insert(all.end(), below.begin(), below.end());
        return all;
    }

private:
    static std::vector<MonitorLine> cut(std::vector<MonitorLine> rows, unsigned height)
    {
        rows.resize(std::min<size_t>(rows.size(), height));
        return rows;
    }

    std::vector<MonitorLine> body(bool is_dense) const
    {
        std::vector<MonitorLine> rows = {title()};
        const auto divide = [&](MonitorLine line) {
            if (!is_dense)
                rows.push_back(std::move(line));
        };
        divide(MonitorLine(repeated(m_symbols.rule, m_columns), TextStyle::Faint));
        for (MonitorLine &line : advice_rows())
            rows.push_back(std::move(line));
        rows.push_back(value("Firmware", firmware()));
        rows.push_back(value("Built", built()));
        rows.push_back(value("Sample rate", m_state.hz ? std::to_string(*m_state.hz) + " Hz" : ""));
        divide({});
        rows.push_back(volume());
        rows.push_back(setting("Input 1", m_state.inputs[0], switch_text));
        rows.push_back(setting("Input 2", m_state.inputs[1], switch_text));
        rows.push_back(setting("Direct monitor", m_state.stereo, stereo_name));
        rows.push_back(setting("Auto power save", m_state.power_save, switch_text));
        return rows;
    }

    MonitorLine title() const
    {
        const std::string status = status_text(m_state.status);
        const auto status_columns = static_cast<unsigned>(status.size());
        const std::string product = shown(m_state.product.value_or("KD-MX"), m_is_utf8);
        const unsigned room = m_columns > status_columns + 1 ? m_columns - status_columns - 1 : 0;
        MonitorLine line(std::string(clipped(product, room)), TextStyle::Bold);
        if (room > 0)
            line.fill_to(m_columns - status_columns);
        return line.add(status, m_state.status == UnitStatus::Connected ? TextStyle::Plain : TextStyle::Bold);
    }

    std::vector<MonitorLine> advice_rows() const
    {
        std::vector<MonitorLine> rows;
        std::istringstream words(advice(m_state.status));
        std::string row;
        for (std::string word; words >> word;) {
            if (!row.empty() && row.size() + 1 + word.size() > m_columns)
                rows.emplace_back(std::exchange(row, {}));
            row += (row.empty() ? "" : " ") + word;
        }
        if (!row.empty()) {
            rows.emplace_back(row);
            rows.emplace_back();
        }
        return rows;
    }

    MonitorLine value(const char *name, const std::string &text) const
    {
        MonitorLine line(name);
        line.fill_to(value_column);
        return text.empty() ? line.add(m_symbols.unknown, TextStyle::Faint) : line.add(shown(text, m_is_utf8));
    }

    template <typename Value, typename Name>
    MonitorLine setting(const char *name, const Setting<Value> &setting, Name name_of) const
    {
        MonitorLine line = value(name, setting.expected() ? name_of(*setting.expected()) : std::string());
        if (setting.is_pending())
            line.add(std::string(" ") + m_symbols.pending, TextStyle::Faint);
        return line;
    }

    static std::string switch_text(bool is_on) { return switch_name(is_on ? 1 : 0); }

    /// Number, mark and bar each in a column of its own: none of them moves when another changes.
    MonitorLine volume() const
    {
        const char *const name = "Input volume";
        const Setting<uint8_t> &volume = m_state.volume;
        if (!volume.expected())
            return value(name, "");
        MonitorLine line = setting(name, volume, [](uint8_t level) { return std::to_string(level); });
        const unsigned bar_column = value_column + number_width + 1 + columns_of(m_symbols.pending) + 1;
        const unsigned room = m_columns > bar_column ? m_columns - bar_column : 0;
        if (room < narrowest_bar)
            return line;
        const unsigned width = std::min(room, widest_bar);
        const unsigned filled = (width * *volume.expected() + highest_level / 2) / highest_level;
        return line.fill_to(bar_column)
            .add(repeated(m_symbols.full, filled))
            .add(repeated(m_symbols.empty, width - filled), TextStyle::Faint);
    }

    std::string firmware() const
    {
        if (!m_state.version)
            return {};
        return version_text(*m_state.version) + (m_state.build ? ", build " + version_text(*m_state.build) : "");
    }

    std::string built() const
    {
        const std::string date = m_state.build_date.value_or("");
        const std::string time = m_state.build_time.value_or("");
        return date + (date.empty() || time.empty() ? "" : ", ") + time;
    }

    /// The newest debug lines, as many as there is room for below the rows.
    void add_debug(std::vector<MonitorLine> *rows, unsigned room) const
    {
        const std::deque<std::string> &lines = m_state.debug;
        constexpr size_t heading = 2;
        if (lines.empty() || rows->size() + heading >= room)
            return;
        rows->emplace_back();
        rows->emplace_back("Debug text", TextStyle::Bold);
        const size_t count = std::min(lines.size(), room - rows->size());
        for (size_t index = lines.size() - count; index < lines.size(); ++index)
            rows->emplace_back(shown(lines[index], m_is_utf8));
    }

    /// The keys, in as many rows as they need.
    std::vector<MonitorLine> footer() const
    {
        std::vector<MonitorLine> rows = {MonitorLine()};
        for (const KeyHint &hint : key_hints) {
            const unsigned columns = columns_of(hint.keys) + 1 + columns_of(hint.meaning);
            if (!rows.back().is_empty() && rows.back().columns() + footer_gap + columns > m_columns)
                rows.emplace_back();
            if (!rows.back().is_empty())
                rows.back().add(std::string(footer_gap, ' '));
            rows.back().add(hint.keys, TextStyle::Bold).add(std::string(" ") + hint.meaning);
        }
        return rows;
    }

    const MonitorState &m_state;
    unsigned m_columns;
    unsigned m_height;
    bool m_is_utf8;
    const Symbols &m_symbols;
};

} // namespace

std::vector<MonitorLine> monitor_rows(const MonitorState &state, Screen::Size size, bool is_utf8)
{
    return Composer(state, size, is_utf8).rows();
}

std::string MonitorPainter::update(const std::vector<MonitorLine> &rows, Screen::Size size)
{
    std::string sequences;
    if (size.columns != m_size.columns || size.rows != m_size.rows) {
        sequences = "\x1b[2J";
        forget();
        m_size = size;
    }
    m_shown.resize(rows.size());
    for (size_t index = 0; index < rows.size(); ++index) {
        const std::string row = rows[index].sequence(size.columns);
        if (row == m_shown[index])
            continue;
        m_shown[index] = row;
        sequences += "\x1b[" + std::to_string(index + 1) + ";1H" + row + "\x1b[K";
    }
    return sequences;
}

void MonitorPainter::forget()
{
    m_shown.clear();
}

} // namespace kdmxctl
