#pragma once

#include <QStringList>

/**
 * Ids of the windows of a process that can be seen and have this title, exactly; on an X display.
 *
 * Blocks for as long as xdotool takes. Rests on QProcess.
 */
QStringList searchWindows(qint64 processId, const QString &title);
