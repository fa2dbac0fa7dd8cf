#pragma once

/**
 * What the program ends with. The numbers are part of its interface (kdmxctl(1)): scripts tell the cases apart by them.
 */
namespace kdmxctl {

enum class ExitCode {
    Done = 0,
    Failed = 1, ///< something else went wrong: a transfer, a read-back, a deviation from a trace, a full disk
    BadArgument = 2, ///< the command line, or a file that it names
    NoUnit = 3, ///< there is no unit, or it went away
    NoPermission = 4, ///< this user may not open the unit
    Busy = 5, ///< the unit was not ready in time
    Mute = 6, ///< the unit does not answer
    Interrupted = 130, ///< Ctrl-C
};

/// The name of a code in JSON output: "no-unit", for example.
const char *exit_code_name(ExitCode code);

} // namespace kdmxctl
