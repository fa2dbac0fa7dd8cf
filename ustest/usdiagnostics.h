#pragma once

/**
 * The diagnostic lines of the device link, on standard output. Internal to the device link.
 *
 * Where a wide text is printed, it comes out as ordinary text: a C stream takes only one width, and on some systems
 * every wide output would fail after the first narrow one. The order of lines is the order of calls.
 */
namespace usdiagnostics {

/**
 * Prints "<module>:<line>:ERROR".
 *
 * @param module  source path of the module, the same in every build
 * @param line    of the failed check; by default the caller's own
 * @return 1, the result of a failed operation
 */
int print_error(const char *module, int line = __builtin_LINE());

/// Prints "ERROR : <line>"; the line is by default the caller's own.
void print_wide_error(int line = __builtin_LINE());

/**
 * Prints a UTF-16 text as a format without arguments: "%%" comes out as "%".
 *
 * @param format  zero-terminated; unpaired surrogates come out as replacement characters
 */
void print_wide(const char16_t *format);

} // namespace usdiagnostics
