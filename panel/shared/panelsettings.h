#pragma once

#include <QSettings>

/**
 * Opens the panel's own settings: the user's INI file "VELMAR/KD-MXSeries.ini" in settingsFolder(), and no other file.
 *
 * Write with settingsfile::saveValue(). Groups in use: "PopupMessage" (which reminders are shown) and "Update" (what
 * the update service is not to offer again).
 *
 * @return the open settings; a file that is missing or cannot be read is empty, one that cannot be written ignores
 *         writes (QSettings::status() tells after a sync())
 *
 * Blocks for a few file operations. May be called from any thread. Rests on QSettings.
 */
QSettings openPanelSettings();

/**
 * Makes openPanelSettings() look below another folder from now on, for programs that must leave the user's own settings
 * alone.
 *
 * @param folder full path; empty: the user's folder again
 *
 * Call it before any other thread opens the settings.
 */
void setPanelSettingsFolder(const QString &folder);
