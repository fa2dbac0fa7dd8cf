#pragma once

#include <QString>

/**
 * The update service's values in the panel's own settings: the group "Update".
 *
 * Each function opens the settings for one access. They may be called from any thread. They block for a few file
 * operations; write() for half a second where another process hangs in a save. Rests on openPanelSettings() and
 * settingsfile.h.
 */
namespace updatesettings {

/// Address of the update-information document that takes the place of the built-in one. Never written by the program.
const QString jsonUrl = QStringLiteral("JsonUrl");

/// Program version that the user does not want to be offered again.
const QString softDialog = QStringLiteral("SoftDialog");

/// Firmware version that the user does not want to be offered again.
const QString firmDialog = QStringLiteral("FirmDialog");

/// News, in full, that the user does not want to see again.
const QString infoDialog = QStringLiteral("InfoDialog");

/// The value stored under one of the keys above; empty when there is none.
QString read(const QString &key);

/// Stores a value under one of the keys above. One that cannot be stored is left out, and so is one of more than 65 536
/// characters.
void write(const QString &key, const QString &value);

} // namespace updatesettings
