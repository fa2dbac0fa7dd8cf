#include "stdstreams_system.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace stdstreams::system {

void outlive_readers()
{
    // A reader that goes away must not end a firmware transfer.
    std::signal(SIGPIPE, SIG_IGN);
}

void print_by_lines()
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

bool is_free(int number)
{
    return fcntl(number, F_GETFD) == -1 && errno == EBADF;
}

int open_null()
{
    return open("/dev/null", O_RDWR);
}

int open_to_append(const std::string &path)
{
    return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
}

int copy(int descriptor)
{
    return dup(descriptor);
}

int copy_for_itself(int descriptor)
{
    return fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

int point(int number, int descriptor)
{
    return dup2(descriptor, number);
}

void close(int descriptor)
{
    ::close(descriptor);
}

std::ptrdiff_t write(int descriptor, std::string_view text)
{
    ssize_t written = 0;
    do {
        written = ::write(descriptor, text.data(), text.size());
    } while (written < 0 && errno == EINTR);
    return written;
}

} // namespace stdstreams::system
