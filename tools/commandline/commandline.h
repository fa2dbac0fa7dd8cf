#pragma once

#include <string>
#include <vector>

namespace commandline {

/// The arguments of the program in UTF-8, without its name.
std::vector<std::string> arguments(int count, char **values);

} // namespace commandline
