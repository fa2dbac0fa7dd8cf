#pragma once

#include <QString>

/**
 * The two settings files as they lie on the disk, without the program's own functions and without QSettings. The
 * folder is $XDG_CONFIG_HOME unless another is given.
 */
namespace stored {

/// Full path of the file that stands for the driver's registry key.
QString driverFile(const QString &configFolder = QString());

/// Full path of the panel's own INI file.
QString panelFile(const QString &configFolder = QString());

/// Text behind "name=" in the section, or null if there is none. "General" is the top level.
QString value(const QString &fileName, const QString &section, const QString &name);

/// A value of the driver's file.
QString driverValue(const QString &name, const QString &configFolder = QString());

/// Replaces a file, folders included.
void write(const QString &fileName, const QByteArray &content);

/// Replaces the driver's file by the two values; a null text leaves a value out.
void writeDriver(const QString &blockFrames, const QString &sampleType, const QString &configFolder = QString());

/// Replaces the panel's file by one that shows the reminder or not.
void writeReminder(bool enabled, const QString &configFolder = QString());

/// Removes both files and everything beside them.
void clear();

} // namespace stored
