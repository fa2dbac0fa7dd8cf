#pragma once

#include "command.h"

#include <string>
#include <vector>

namespace kdmxctl {

/// The commands that use the link themselves, in the order of the help.
Commands link_commands();

/**
 * Runs the program from its arguments to its exit code.
 *
 * @param arguments  in UTF-8, without the program's name
 * @param commands   all that the program knows
 *
 * Call it once, before anything is printed: standard output is taken for results from then on.
 */
int run(const std::vector<std::string> &arguments, const Commands &commands);

} // namespace kdmxctl
