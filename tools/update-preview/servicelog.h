#pragma once

#include <QString>

#include <functional>

/**
 * The lines that the service writes to Qt's message logger. What is critical goes to standard error in any case.
 */
namespace servicelog {

/// Drops the service's lines, and Qt's warnings, from now on.
void silence();

/**
 * Writes the service's lines to standard error from now on.
 *
 * @param listener  called for each, in the thread that writes it
 */
void show(std::function<void(const QString &)> listener);

} // namespace servicelog
