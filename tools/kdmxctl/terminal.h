#pragma once

#include <functional>
#include <optional>
#include <string>

/**
 * The terminal that the program may run in.
 */
namespace terminal {

/// Whether a person can answer questions on standard input.
bool has_input();

/// Whether a person reads standard error on a terminal.
bool has_error_output();

/// Width of the terminal on standard error in columns; 80 when it does not tell.
unsigned columns();

/**
 * Reads one line of standard input, without its end.
 *
 * @param cancelled  asked whenever waiting is interrupted by a signal: true ends it
 * @return nothing at the end of input, or when cancelled
 */
std::optional<std::string> read_line(const std::function<bool()> &cancelled);

} // namespace terminal
