#include "terminal.h"

#include <cerrno>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace terminal {

namespace {

constexpr unsigned usual_columns = 80;

// A signal that comes just before the wait does not interrupt it: it is looked for this often.
constexpr int signal_check_ms = 50;

/// Waits until there is input; false when cancelled.
bool await_input(const std::function<bool()> &cancelled)
{
    while (!cancelled()) {
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        if (poll(&input, 1, signal_check_ms) > 0)
            return true;
    }
    return false;
}

} // namespace

bool has_input()
{
    return isatty(STDIN_FILENO) == 1;
}

bool has_error_output()
{
    return isatty(STDERR_FILENO) == 1;
}

unsigned columns()
{
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return usual_columns;
    return size.ws_col;
}

std::optional<std::string> read_line(const std::function<bool()> &cancelled)
{
    std::string line;
    while (await_input(cancelled)) {
        char character = 0;
        const ssize_t count = read(STDIN_FILENO, &character, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return std::nullopt;
        if (character == '\n')
            return line;
        line += character;
    }
    return std::nullopt;
}

} // namespace terminal
