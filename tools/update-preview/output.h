#pragma once

#include <QString>

/**
 * What the program tells people, in UTF-8. May be called from any thread.
 */
namespace output {

/// Writes a result to standard output. @return whether it has arrived
bool writeResult(const QString &text);

/// Writes one line to standard error.
void writeLine(const QString &line);

/// Writes one line to standard error, with the program's name before it.
void writeError(const QString &sentence);

} // namespace output
