#pragma once

#include <QString>
#include <QStringList>

/**
 * Windows of another process on the screen. They are found and served in other ways on each system.
 */
namespace previewwindows {

/// The system's ids of a process's windows with exactly this title.
QStringList find(qint64 processId, const QString &title);

/// Makes a window the active one and gives it keys, by their X names.
void press(const QString &window, const QStringList &keys);

/// The folder that holds the settings of the user whose home is given; on Windows, where a user has one, always the
/// same.
QString settingsFolder(const QString &home);

/// Standard error without what the system itself has written there.
QString withoutNoise(const QString &error);

/// The variable by which the system finds the folder for temporary files.
QString temporaryVariable();

} // namespace previewwindows
