#pragma once

#include <string>
#include <string_view>

/**
 * The process's standard streams, sorted by what they carry: the results of commands go to the real standard output,
 * and what the link prints on standard output goes elsewhere.
 *
 * Call begin() before anything is printed. One thread. Errors are codes of the C library (errno); 0 is none.
 */
namespace stdstreams {

/**
 * Keeps the real standard output for results. What is printed on standard output is dropped from now on.
 *
 * Standard streams that the caller has closed are opened on the null device, so that no file takes their numbers.
 *
 * @return 0; an error when there is no standard output to write results to
 */
int begin();

/// Sends what the link prints to standard error, line by line.
int link_to_error();

/// Appends what the link prints to a file, line by line.
int link_to_file(const std::string &path);

/// Drops what the link prints from now on. What it has printed so far arrives.
void silence_link();

/// Whether everything that the link has printed so far has arrived, and the error otherwise.
int finish_link();

/// The descriptor of the real standard output, for code that must know what it is; -1 when there is none.
int result_descriptor();

/// Writes to the real standard output at once and wholly.
int write_result(std::string_view text);

/// Writes to standard error at once. Failures are ignored.
void write_error(std::string_view text);

} // namespace stdstreams
