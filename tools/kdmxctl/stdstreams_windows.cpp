#include "stdstreams.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <sys/stat.h>

namespace stdstreams {

namespace {

constexpr int input = 0;
constexpr int output = 1;
constexpr int error_output = 2;

// One write of the C library takes no more than this.
constexpr size_t largest_write = 1 << 20;

int results = -1;

/// Opens the null device on a standard stream's number if that is free.
void occupy(int number)
{
    if (_get_osfhandle(number) >= 0)
        return;
    const int null = _open("NUL", _O_RDWR | _O_BINARY);
    if (null >= 0 && null != number) {
        _dup2(null, number);
        _close(null);
    }
}

/// Lets standard output point to a descriptor, which is closed.
int point_output_to(int descriptor)
{
    std::fflush(stdout);
    const int error = _dup2(descriptor, output) < 0 ? errno : 0;
    _close(descriptor);
    return error;
}

int write_all(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const auto piece = static_cast<unsigned>(std::min(text.size(), largest_write));
        const int written = _write(descriptor, text.data(), piece);
        if (written < 0)
            return errno;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return 0;
}

} // namespace

int begin()
{
    results = _dup(output);
    const int error = results < 0 ? errno : 0;
    for (const int number : {input, output, error_output})
        occupy(number);
    // The C library of this system has no line buffering.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    silence_link();
    return error;
}

int link_to_error()
{
    const int copy = _dup(error_output);
    return copy < 0 ? errno : point_output_to(copy);
}

int link_to_file(const std::string &path)
{
    const std::filesystem::path wide(std::u8string(path.begin(), path.end()));
    const int file = _wopen(wide.c_str(), _O_WRONLY | _O_CREAT | _O_APPEND | _O_TEXT, _S_IREAD | _S_IWRITE);
    return file < 0 ? errno : point_output_to(file);
}

void silence_link()
{
    const int null = _open("NUL", _O_WRONLY);
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
    write_all(error_output, text);
}

} // namespace stdstreams
