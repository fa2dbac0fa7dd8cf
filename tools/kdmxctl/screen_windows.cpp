#include "screen.h"

#include "failure.h"
#include "stdstreams.h"

#include <io.h>
#include <windows.h>

namespace kdmxctl {

namespace {

constexpr Screen::Size usual_size = {80, 24};

// One write of the system takes no more than this.
constexpr size_t largest_write = 1 << 15;

HANDLE input()
{
    return GetStdHandle(STD_INPUT_HANDLE);
}

HANDLE output()
{
    const int descriptor = stdstreams::result_descriptor();
    return descriptor < 0 ? INVALID_HANDLE_VALUE : reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

bool is_console(HANDLE handle)
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != FALSE;
}

/// The typed character in UTF-8.
std::string utf8(wchar_t character)
{
    char bytes[8];
    const int count =
        WideCharToMultiByte(CP_UTF8, 0, &character, 1, bytes, static_cast<int>(sizeof(bytes)), nullptr, nullptr);
    return {bytes, bytes + count};
}

} // namespace

struct Screen::Settings
{
    DWORD input = 0;
    DWORD output = 0;
    UINT code_page = 0;
};

bool Screen::is_possible()
{
    return is_console(input()) && is_console(output());
}

// The view sets the console to UTF-8.
bool Screen::shows_utf8()
{
    return true;
}

Screen::Screen()
    : m_before(new Settings)
{
    take();
}

Screen::~Screen()
{
    give_back();
}

void Screen::take()
{
    GetConsoleMode(input(), &m_before->input);
    GetConsoleMode(output(), &m_before->output);
    m_before->code_page = GetConsoleOutputCP();
    const BOOL can_place_cursor =
        SetConsoleMode(output(), m_before->output | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    if (can_place_cursor == FALSE)
        throw Failure{ExitCode::Failed, "This console cannot place its cursor."};
    // Without the lines and the echo; Ctrl-C stays an event.
    SetConsoleMode(input(), ENABLE_PROCESSED_INPUT | ENABLE_VIRTUAL_TERMINAL_INPUT);
    SetConsoleOutputCP(CP_UTF8);
    write(view_begins);
}

void Screen::give_back()
{
    write(view_ends);
    FlushConsoleInputBuffer(input());
    SetConsoleOutputCP(m_before->code_page);
    SetConsoleMode(input(), m_before->input);
    SetConsoleMode(output(), m_before->output);
}

Screen::Size Screen::size() const
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(output(), &info) == FALSE)
        return usual_size;
    return {static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1),
            static_cast<unsigned>(info.srWindow.Bottom - info.srWindow.Top + 1)};
}

std::optional<std::string> Screen::read()
{
    std::string typed;
    DWORD waiting = 0;
    while (GetNumberOfConsoleInputEvents(input(), &waiting) != FALSE) {
        if (waiting == 0)
            return typed;
        INPUT_RECORD record = {};
        DWORD count = 0;
        if (ReadConsoleInputW(input(), &record, 1, &count) == FALSE)
            break;
        const KEY_EVENT_RECORD &key = record.Event.KeyEvent;
        if (record.EventType == KEY_EVENT && key.bKeyDown != FALSE && key.uChar.UnicodeChar != 0)
            typed += utf8(key.uChar.UnicodeChar);
    }
    return std::nullopt;
}

bool Screen::write(std::string_view text)
{
    while (!text.empty()) {
        const auto piece = static_cast<DWORD>(text.size() < largest_write ? text.size() : largest_write);
        DWORD written = 0;
        if (WriteFile(output(), text.data(), piece, &written, nullptr) == FALSE)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

// This system does not stop programs.
void Screen::suspend() { }

} // namespace kdmxctl
