#include "commandline.h"

namespace commandline {

std::vector<std::string> arguments(int count, char **values)
{
    // A caller may leave out even the name.
    return count > 1 ? std::vector<std::string>(values + 1, values + count) : std::vector<std::string>();
}

// Terminals show what they are set up for.
unsigned show_utf8()
{
    return 0;
}

void restore_console(unsigned) { }

} // namespace commandline
