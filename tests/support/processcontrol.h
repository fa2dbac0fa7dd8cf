#pragma once

#include <QProcess>

/**
 * What the system can do with another process and QProcess cannot.
 */
namespace processcontrol {

/// Stops all threads of a process; it hangs from then on.
void suspend(qint64 processId);

/// Lets a suspended process go on.
void resume(qint64 processId);

/**
 * Makes sure that a process does not outlive this one, should this one die.
 *
 * @param process  not started yet
 */
void endWithThisProcess(QProcess &process);

} // namespace processcontrol
