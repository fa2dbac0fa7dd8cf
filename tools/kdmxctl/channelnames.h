#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/**
 * The names that people use for what the unit numbers.
 */
namespace kdmxctl {

/// "line-out" for USMSG_DATA_CH_LINE_OUT, and so on; the number itself for what has no name.
std::string channel_name(uint32_t ch);

/// The usmsg_data_ch_t of a name; nothing for anything else.
std::optional<uint32_t> channel_of(std::string_view name);

/// All names, for messages: "line-out, master-out, …".
std::string channel_names();

/// "mono" or "stereo"; the number itself for any other mode.
std::string stereo_name(uint32_t mode);

/// The usmsg_data_ch_type_t of "mono" or "stereo"; nothing for anything else.
std::optional<uint32_t> stereo_of(std::string_view name);

} // namespace kdmxctl
