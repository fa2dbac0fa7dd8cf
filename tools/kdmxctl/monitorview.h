#pragma once

#include "monitorline.h"
#include "monitorstate.h"
#include "screen.h"

#include <string>
#include <vector>

namespace kdmxctl {

/// The rows of the live view, from the top, at most as many as fit. Pictures are drawn with ASCII alone, or with UTF-8.
std::vector<MonitorLine> monitor_rows(const MonitorState &state, Screen::Size size, bool is_utf8);

/// Draws rows on a terminal, only those that have changed, so that nothing flickers.
class MonitorPainter
{
public:
    /// What to send to the terminal; empty when it shows the rows already.
    std::string update(const std::vector<MonitorLine> &rows, Screen::Size size);

    /// The terminal is empty now.
    void forget();

private:
    std::vector<std::string> m_shown; ///< what each row was drawn with
    Screen::Size m_size = {};
};

} // namespace kdmxctl
