#include "stdstreams_system.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <sys/stat.h>

namespace stdstreams::system {

namespace {

// One write of the C library takes no more than this.
constexpr size_t largest_write = 1 << 20;

} // namespace

void outlive_readers()
{
    // Here writing only fails.
}

void print_by_lines()
{
    // The C library of this system has no line buffering.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

bool is_free(int number)
{
    return _get_osfhandle(number) < 0;
}

int open_null()
{
    return _open("NUL", _O_RDWR | _O_BINARY);
}

int open_to_append(const std::string &path)
{
    const std::filesystem::path wide(std::u8string(path.begin(), path.end()));
    return _wopen(wide.c_str(), _O_WRONLY | _O_CREAT | _O_APPEND | _O_TEXT, _S_IREAD | _S_IWRITE);
}

int copy(int descriptor)
{
    return _dup(descriptor);
}

int copy_for_itself(int descriptor)
{
    return _dup(descriptor);
}

int point(int number, int descriptor)
{
    return _dup2(descriptor, number);
}

void close(int descriptor)
{
    _close(descriptor);
}

std::ptrdiff_t write(int descriptor, std::string_view text)
{
    return _write(descriptor, text.data(), static_cast<unsigned>(std::min(text.size(), largest_write)));
}

} // namespace stdstreams::system
