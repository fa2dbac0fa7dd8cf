#pragma once

#include "command.h"

#include <string>

namespace kdmxctl {

/// The help for the whole program.
std::string program_help(const Commands &commands);

/// The help for one command.
std::string command_help(const Command &command);

/// Text broken into lines of at most 79 columns at its blanks; its own line ends stay.
std::string wrapped(const std::string &text);

} // namespace kdmxctl
