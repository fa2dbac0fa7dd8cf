#pragma once

#include <cstdint>
#include <string_view>

/// The system's words for the error codes of usplatform_t::last_error(). Any thread.
namespace userrortext {

/// A line that says what the code means.
std::string_view of(uint32_t code);

/**
 * Copies a text for use as a format without arguments: every "%" stands twice, as a whole pair or not at all.
 *
 * @param text   ASCII
 * @param to     receives the copy, cut where it does not fit, zero-terminated
 * @param units  size of `to`, at least 1
 */
void copy_as_format(std::string_view text, char16_t *to, uint32_t units);

} // namespace userrortext
