#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kdmxctl {

/**
 * The whole terminal as a view: keys come as they are typed and are not shown, and what stood there before comes back
 * in the end.
 *
 * Ctrl-C stays a signal. Standard input and the real standard output (stdstreams.h) are used. One at a time, one
 * thread.
 */
class Screen
{
public:
    struct Size
    {
        unsigned columns;
        unsigned rows;
    };

    /// Whether both streams are a terminal that can place its cursor.
    static bool is_possible();

    /// Whether the terminal shows UTF-8, by the locale. Ask before anything changes the locale.
    static bool shows_utf8();

    /// Takes the terminal; throws a Failure when it cannot be set.
    Screen();

    /// Gives the terminal back as it was.
    ~Screen();

    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    /// The size now; 80 by 24 when the terminal does not tell.
    Size size() const;

    /// What was typed since, at once, special keys as the sequences of a VT100; nothing when the terminal is gone.
    std::optional<std::string> read();

    /// Writes a text with its control sequences; false when the terminal does not take it.
    bool write(std::string_view text);

    /// Gives the terminal back and lets the shell have it (Ctrl-Z); returns when the program is continued, with the
    /// terminal taken again and empty. Does nothing on systems without this.
    void suspend();

private:
    struct Settings;

    void take();
    void give_back();

    std::unique_ptr<Settings> m_before;
};

/// What switches a terminal to an empty view of its own without a cursor and line breaks, and back.
inline constexpr std::string_view view_begins = "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[0m\x1b[H\x1b[2J";
inline constexpr std::string_view view_ends = "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";

} // namespace kdmxctl
