#include "command.h"

namespace kdmxctl {

void Command::define(CLI::App *) { }

bool Command::check(const Options &)
{
    return false;
}

Failure not_verified(const std::string &what, const std::string &wanted, const std::string &found)
{
    return {ExitCode::Failed,
            what + " was set to " + wanted + ", but the unit reports " + found + ".",
            "",
            {{"expected", wanted}, {"actual", found}}};
}

std::string verified_mark(const Options &options)
{
    return options.verify ? " (verified)" : "";
}

} // namespace kdmxctl
