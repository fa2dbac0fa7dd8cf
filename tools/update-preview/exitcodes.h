#pragma once

/// What the program ends with. The numbers are part of its interface (update-preview(1)).
enum class ExitCode {
    Done = 0,
    Failed = 1, ///< the document is invalid, or a result cannot be written
    BadArgument = 2, ///< the command line, or a file or address that it names
    Interrupted = 130, ///< Ctrl-C, or a signal to end
};
