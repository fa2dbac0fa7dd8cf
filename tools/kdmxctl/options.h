#pragma once

#include <optional>
#include <string>

namespace kdmxctl {

/// The options that every command takes, as they were given.
struct Options
{
    bool json = false;
    bool verify = false;
    std::optional<double> timeout; ///< seconds
    std::optional<std::string> log; ///< file, or "-" for standard error
    std::optional<std::string> trace; ///< file, or "-" for standard error
    std::optional<std::string> replay; ///< file
    std::optional<std::string> virtual_script; ///< may be empty
};

} // namespace kdmxctl
