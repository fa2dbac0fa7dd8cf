#include "terminal.h"

#include <cstdio>
#include <io.h>
#include <windows.h>

namespace terminal {

namespace {

constexpr unsigned usual_columns = 80;
constexpr int input = 0;

bool is_console(DWORD stream)
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != FALSE;
}

} // namespace

bool has_input()
{
    return is_console(STD_INPUT_HANDLE);
}

bool has_error_output()
{
    return is_console(STD_ERROR_HANDLE);
}

unsigned columns()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) == FALSE)
        return usual_columns;
    return static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1);
}

std::optional<std::string> read_line(const std::function<bool()> &cancelled)
{
    std::string line;
    while (!cancelled()) {
        char character = 0;
        // Ctrl-C ends the read as the end of input does.
        if (_read(input, &character, 1) <= 0)
            return std::nullopt;
        if (character == '\n')
            return line;
        if (character != '\r')
            line += character;
    }
    return std::nullopt;
}

} // namespace terminal
