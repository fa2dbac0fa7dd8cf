#pragma once

#include <QByteArray>
#include <QString>

/**
 * The environment of this process, and what else tests must know of the system.
 */
namespace environment {

/// Sets a variable; on Windows to letters outside the code page too, which qputenv() cannot.
void set(const char *name, const QString &value);

/// Name of the variable by which the system finds the folder for temporary files.
const char *temporaryFolder();

/// What ends a line of a text file.
QByteArray lineEnd();

/// Whether this Windows is Wine, which lacks some of what Windows has (docs/windows.md).
bool isWine();

} // namespace environment
