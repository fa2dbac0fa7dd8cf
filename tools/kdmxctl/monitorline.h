#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kdmxctl {

enum class TextStyle { Plain, Bold, Faint };

/// The columns that a text in UTF-8 takes on a terminal.
unsigned columns_of(std::string_view text);

/// The beginning of a text that fits.
std::string_view clipped(std::string_view text, unsigned columns);

/// One row of a view, in pieces of one style each.
class MonitorLine
{
public:
    MonitorLine() = default;
    explicit MonitorLine(std::string text, TextStyle style = TextStyle::Plain) { add(std::move(text), style); }

    MonitorLine &add(std::string text, TextStyle style = TextStyle::Plain);

    /// Blanks up to a column; at least one blank unless the line is empty.
    MonitorLine &fill_to(unsigned column);

    unsigned columns() const;
    bool is_empty() const { return m_pieces.empty(); }

    /// What a terminal is sent, cut off where it does not fit.
    std::string sequence(unsigned columns) const;

private:
    struct Piece
    {
        std::string text;
        TextStyle style;
    };

    std::vector<Piece> m_pieces;
};

} // namespace kdmxctl
