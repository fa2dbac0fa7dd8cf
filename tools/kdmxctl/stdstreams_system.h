#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/**
 * What the standard streams need of a system: its calls, without any sense of what goes where. For stdstreams.cpp
 * alone.
 *
 * Descriptors are those of the C library. Where nothing else is said, -1 is a failure, and errno its reason.
 */
namespace stdstreams::system {

/// Lets writing fail when the reader has gone away, where it would end the process.
void outlive_readers();

/// Lets lines arrive when they are printed: a killed process must not lose them.
void print_by_lines();

/// Whether no file has this number.
bool is_free(int number);

/// Opens the null device.
int open_null();

/// Opens a file for text that goes behind what is there; makes it if need be.
int open_to_append(const std::string &path);

/// Another descriptor of the same file.
int copy(int descriptor);

/// One for this process alone, if the system can do that, under a number that no standard stream has.
int copy_for_itself(int descriptor);

/// Lets a number stand for the file of a descriptor.
int point(int number, int descriptor);

void close(int descriptor);

/// Writes what the system takes at once of a text, and tells how much that was.
std::ptrdiff_t write(int descriptor, std::string_view text);

} // namespace stdstreams::system
