#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kdmxctl {

/**
 * Shows how far a transfer is, on standard error: a bar on a terminal, a plain line for each tenth elsewhere.
 */
class Progress
{
public:
    Progress(uint32_t total, bool draws_bar);

    /// Ends a bar that was not ended.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// Shows the bytes done so far, if they are worth a new picture.
    void update(uint32_t done);

    /// Says something without spoiling the bar, which is drawn anew below it.
    void say(const std::string &message);

    /// Ends the bar's line.
    void end();

private:
    unsigned percent() const;
    std::string bar(unsigned room) const;
    void draw_bar();
    void print_line();

    uint32_t m_total;
    bool m_draws_bar;
    uint32_t m_done = 0;
    bool m_is_bar_open = false;
    unsigned m_told_tenths = 0;
    std::chrono::steady_clock::time_point m_last_drawn = {};
};

} // namespace kdmxctl
