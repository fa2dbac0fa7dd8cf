#include "stdstreams.h"

#include "stdstreams_system.h"

#include <cerrno>
#include <cstdio>

namespace stdstreams {

namespace {

constexpr int input = 0;
constexpr int output = 1;
constexpr int error_output = 2;

int results = -1;

/// Opens the null device on a standard stream's number if that is free.
void occupy(int number)
{
    if (!system::is_free(number))
        return;
    const int null = system::open_null();
    if (null >= 0 && null != number) {
        system::point(number, null);
        system::close(null);
    }
}

/// Lets standard output point to a descriptor, which is closed; a failure to open it comes through.
int point_output_to(int descriptor)
{
    if (descriptor < 0)
        return errno;
    std::fflush(stdout);
    const int error = system::point(output, descriptor) < 0 ? errno : 0;
    system::close(descriptor);
    return error;
}

int write_all(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const std::ptrdiff_t written = system::write(descriptor, text);
        if (written < 0)
            return errno;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return 0;
}

} // namespace

int begin()
{
    system::outlive_readers();
    results = system::copy_for_itself(output);
    const int error = results < 0 ? errno : 0;
    for (const int number : {input, output, error_output})
        occupy(number);
    system::print_by_lines();
    silence_link();
    return error;
}

int link_to_error()
{
    return point_output_to(system::copy(error_output));
}

int link_to_file(const std::string &path)
{
    return point_output_to(system::open_to_append(path));
}

void silence_link()
{
    point_output_to(system::open_null());
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
