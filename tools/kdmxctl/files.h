#pragma once

#include <filesystem>
#include <string>

namespace kdmxctl {

/// A file name of the command line (UTF-8) as the system takes it.
inline std::filesystem::path path_of(const std::string &name)
{
    return {std::u8string(name.begin(), name.end())};
}

} // namespace kdmxctl
