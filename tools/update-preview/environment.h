#pragma once

#include <QString>

/**
 * Variables of this process's environment, for itself and for the processes that it starts. Call before any thread
 * runs.
 */
namespace environment {

/// Sets a variable; on Windows to letters outside the code page too, which qputenv() cannot.
void set(const char *name, const QString &value);

} // namespace environment
