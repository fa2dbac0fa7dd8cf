#pragma once

#include <QSettings>

/**
 * Opens the audio driver's settings of the current user: "blockFrames" and "sampleType" (see identity.h), both at
 * top level. Beside them lies a copy of the panel's own "WakeUp", which is written and never read.
 *
 * The store belongs to the driver. Open it for one access and drop it at once; write with settingsfile::saveValue().
 *
 * On Windows it is the registry key identity::driverSettingsPath. On Linux, where there is neither a registry nor an
 * audio driver to read it, it is the INI file "VELMAR/KD-MX_Series/ASIODRIVER.conf" below the user's configuration
 * folder ($XDG_CONFIG_HOME, else ~/.config).
 *
 * @return the open settings; a store that is missing or cannot be read is empty, one that cannot be written ignores
 *         writes (QSettings::status() tells after a sync())
 *
 * Blocks for a few file or registry operations. May be called from any thread. Rests on QSettings.
 */
QSettings openDriverSettings();
