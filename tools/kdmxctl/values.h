#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/**
 * Reads what people type, and shows what the unit sends. Each reading function throws a bad argument that names `what`
 * and the values that are possible.
 */
namespace kdmxctl {

/// A number from `least` to `most`, decimal or hexadecimal with "0x".
uint32_t number_argument(std::string_view what, const std::string &text, uint32_t least, uint32_t most);

/// 1 for "on" or "1", 0 for "off" or "0".
uint8_t switch_argument(std::string_view what, const std::string &text);

/// "mono", "stereo" or a number from 0 to 255.
uint8_t stereo_argument(std::string_view what, const std::string &text);

/// The usmsg_data_ch_t of a channel's name.
uint32_t channel_argument(std::string_view what, const std::string &text);

/// The bytes of hexadecimal words such as "31 01 0000", 1 to 64 of them.
std::vector<uint8_t> bytes_argument(std::string_view what, const std::vector<std::string> &words);

/// "on" for any number but 0.
const char *switch_name(uint32_t value);

/// "31 01 00 00".
std::string hex(const uint8_t *bytes, size_t length);

/// A text of the unit in a form that no terminal takes for a command: control characters come out as "\x1b".
std::string printable(std::string_view text);

} // namespace kdmxctl
