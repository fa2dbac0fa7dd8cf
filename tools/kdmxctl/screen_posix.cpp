#include "screen.h"

#include "failure.h"
#include "interrupts.h"
#include "stdstreams.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <locale.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace kdmxctl {

namespace {

constexpr Screen::Size usual_size = {80, 24};

// A terminal that takes nothing (a dead connection, for example) is asked this often whether it does again.
constexpr int write_wait_ms = 50;

bool can_write(int wait_ms)
{
    pollfd terminal = {stdstreams::result_descriptor(), POLLOUT, 0};
    return poll(&terminal, 1, wait_ms) > 0;
}

/// Signals still interrupt, but no key ends or stops the program behind its back.
termios raw(termios settings)
{
    settings.c_iflag &= ~static_cast<tcflag_t>(ICRNL | INLCR | IXON);
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN);
    settings.c_cc[VQUIT] = _POSIX_VDISABLE;
    settings.c_cc[VSUSP] = _POSIX_VDISABLE;
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    return settings;
}

} // namespace

struct Screen::Settings
{
    termios input = {};
};

bool Screen::is_possible()
{
    const char *const type = std::getenv("TERM");
    const bool can_place_cursor = type != nullptr && *type != 0 && std::strcmp(type, "dumb") != 0;
    return can_place_cursor && isatty(STDIN_FILENO) == 1 && isatty(stdstreams::result_descriptor()) == 1;
}

bool Screen::shows_utf8()
{
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr)
        return false;
    const bool is_utf8 = std::strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
    freelocale(locale);
    return is_utf8;
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
    if (tcgetattr(STDIN_FILENO, &m_before->input) != 0)
        throw Failure{ExitCode::Failed, "The terminal cannot be read."};
    const termios settings = raw(m_before->input);
    if (tcsetattr(STDIN_FILENO, TCSANOW, &settings) != 0)
        throw Failure{ExitCode::Failed, "The terminal cannot be set."};
    write(view_begins);
}

void Screen::give_back()
{
    // The end must not hang on a terminal that takes nothing any more.
    if (can_write(0))
        write(view_ends);
    // What was typed for the view is not left to the shell.
    tcflush(STDIN_FILENO, TCIFLUSH);
    tcsetattr(STDIN_FILENO, TCSANOW, &m_before->input);
}

Screen::Size Screen::size() const
{
    winsize size = {};
    if (ioctl(stdstreams::result_descriptor(), TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return usual_size;
    return {size.ws_col, size.ws_row};
}

std::optional<std::string> Screen::read()
{
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, 0) <= 0)
        return "";
    char bytes[256];
    const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof(bytes));
    if (count < 0 && errno == EINTR)
        return "";
    if (count <= 0)
        return std::nullopt;
    return std::string(bytes, static_cast<size_t>(count));
}

bool Screen::write(std::string_view text)
{
    while (!text.empty()) {
        while (!can_write(write_wait_ms)) {
            if (interrupts::must_end())
                return false;
        }
        const ssize_t written = ::write(stdstreams::result_descriptor(), text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0)
            text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

void Screen::suspend()
{
    give_back();
    // The whole foreground group, as the terminal itself would do it.
    kill(0, SIGTSTP);
    take();
}

} // namespace kdmxctl
