#pragma once

#include "command.h"
#include "options.h"

#include <string>
#include <vector>

namespace kdmxctl {

/// What the command line asks for.
struct Request
{
    Options options;
    Command *command = nullptr; ///< null when `text` is all that is asked for
    std::string text; ///< help or version
};

/// Reads the command line; throws bad arguments. The command's own arguments are in the command.
Request parse_arguments(const std::vector<std::string> &arguments, const Commands &commands);

/// Whether --json is among the arguments: known even when they cannot be understood.
bool wants_json(const std::vector<std::string> &arguments);

} // namespace kdmxctl
