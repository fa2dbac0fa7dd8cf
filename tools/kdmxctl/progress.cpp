#include "progress.h"

#include "output.h"
#include "stdstreams.h"
#include "terminal.h"

#include <algorithm>
#include <cstdio>

namespace kdmxctl {

namespace {

// What an eye can follow.
constexpr std::chrono::milliseconds drawing_interval{100};

constexpr unsigned narrowest_bar = 10;
constexpr unsigned widest_bar = 50;

// Brackets and a blank.
constexpr unsigned frame = 3;

constexpr unsigned percent_per_tenth = 10;

/// "  45 %  29491 of 65536 bytes", always of the same width for the same total.
std::string position_text(uint32_t done, uint32_t total, unsigned percent)
{
    const std::string total_text = std::to_string(total);
    char text[64];
    std::snprintf(text, sizeof(text), "%3u %%  %*u of %s bytes", percent, static_cast<int>(total_text.size()), done,
                  total_text.c_str());
    return text;
}

} // namespace

Progress::Progress(uint32_t total, bool draws_bar)
    : m_total(total)
    , m_draws_bar(draws_bar)
{
}

Progress::~Progress()
{
    end();
}

void Progress::update(uint32_t done)
{
    m_done = done;
    if (!m_draws_bar) {
        print_line();
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (done < m_total && now - m_last_drawn < drawing_interval)
        return;
    m_last_drawn = now;
    draw_bar();
}

void Progress::say(const std::string &message)
{
    end();
    write_message(message);
    if (m_draws_bar)
        draw_bar();
}

void Progress::end()
{
    if (m_is_bar_open)
        stdstreams::write_error("\n");
    m_is_bar_open = false;
}

unsigned Progress::percent() const
{
    return m_total == 0 ? 100 : static_cast<unsigned>(uint64_t{m_done} * 100 / m_total);
}

std::string Progress::bar(unsigned room) const
{
    const unsigned width = std::min(widest_bar, room - frame);
    const unsigned filled = width * percent() / 100;
    return '[' + std::string(filled, '#') + std::string(width - filled, '-') + "] ";
}

void Progress::draw_bar()
{
    // The last column stays free: some terminals go to the next line when it is written.
    const unsigned columns = std::max(terminal::columns(), 2U) - 1;
    const std::string position = position_text(m_done, m_total, percent()).substr(0, columns);
    const unsigned room = columns - static_cast<unsigned>(position.size());
    stdstreams::write_error('\r' + (room >= narrowest_bar + frame ? bar(room) : "") + position);
    m_is_bar_open = true;
}

void Progress::print_line()
{
    const unsigned tenths = percent() / percent_per_tenth;
    if (tenths <= m_told_tenths)
        return;
    m_told_tenths = tenths;
    write_message(position_text(m_done, m_total, percent()));
}

} // namespace kdmxctl
