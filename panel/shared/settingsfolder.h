#pragma once

#include <QString>

/**
 * The user's folder for settings files: $XDG_CONFIG_HOME or ~/.config on Linux, the roaming application-data folder on
 * Windows. It need not exist.
 *
 * QSettings uses the same one but does not tell without reading files that are not ours: asked for the name of its
 * file, it has already read the organisation's file of this user and that of the whole machine.
 *
 * @return full path with slashes, without one at the end
 *
 * May be called from any thread. Rests on QStandardPaths and SHGetKnownFolderPath.
 */
QString settingsFolder();
