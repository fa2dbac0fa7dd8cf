#include "stdstreams.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace stdstreams {

namespace {

int results = -1;

/// Opens the null device on a standard stream's number if that is free.
void occupy(int number)
{
    if (fcntl(number, F_GETFD) != -1 || errno != EBADF)
        return;
    const int null = open("/dev/null", O_RDWR);
    if (null >= 0 && null != number) {
        dup2(null, number);
        close(null);
    }
}

/// Lets standard output point to a descriptor, which is closed.
int point_output_to(int descriptor)
{
    std::fflush(stdout);
    const int error = dup2(descriptor, STDOUT_FILENO) < 0 ? errno : 0;
    close(descriptor);
    return error;
}

int write_all(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return 0;
}

} // namespace

int begin()
{
    // A reader that goes away must not end a firmware transfer: writing fails instead.
    std::signal(SIGPIPE, SIG_IGN);
    results = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = results < 0 ? errno : 0;
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        occupy(number);
    // Lines must arrive when they are printed: a killed process must not lose them.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    silence_link();
    return error;
}

int link_to_error()
{
    const int copy = dup(STDERR_FILENO);
    return copy < 0 ? errno : point_output_to(copy);
}

int link_to_file(const std::string &path)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    return file < 0 ? errno : point_output_to(file);
}

void silence_link()
{
    const int null = open("/dev/null", O_WRONLY);
    if (null >= 0)
        point_output_to(null);
}

int finish_link()
{
    errno = 0;
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return 0;
    return errno != 0 ? errno : EIO;
}

int result_descriptor()
{
    return results;
}

int write_result(std::string_view text)
{
    return results < 0 ? EBADF : write_all(results, text);
}

void write_error(std::string_view text)
{
    write_all(STDERR_FILENO, text);
}

} // namespace stdstreams
