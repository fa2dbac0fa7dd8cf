#pragma once

#include <string>
#include <vector>

namespace kdmxctl {

/**
 * Runs the program from its arguments to its exit code.
 *
 * @param arguments  in UTF-8, without the program's name
 *
 * Call it once, before anything is printed: standard output is taken for results from then on.
 */
int run(const std::vector<std::string> &arguments);

} // namespace kdmxctl
