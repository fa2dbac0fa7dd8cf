#pragma once

#include <QString>

/**
 * The two settings stores as they are in the system, without the program's own functions and without QSettings: two
 * files on Linux, a registry key and a file on Windows. They are those of the user that the test runs as, so that has
 * to be a private one (see tools/virtual-display and tools/windows/wine).
 */
namespace stored {

/// Full path of the panel's own INI file.
QString panelFile();

/// Text after "name=" in a section of a file, or null if there is none. "General" is the top level.
QString value(const QString &fileName, const QString &section, const QString &name);

/**
 * A value of the driver's store, or null if there is none.
 *
 * In the registry a number has to be a REG_DWORD and a text a REG_SZ: a text that reads like a number comes in quotes,
 * and a value of any other type as that type's number in brackets.
 */
QString driverValue(const QString &name);

/// Replaces a file, folders included.
void write(const QString &fileName, const QByteArray &content);

/// Replaces the driver's store by the two values; a null text leaves a value out.
void writeDriver(const QString &blockFrames, const QString &sampleType);

/// Adds a value to the driver's store, or replaces it. In the registry it is a REG_DWORD or, if it is larger, a
/// REG_QWORD; what is no number is a REG_SZ.
void addDriverValue(const QString &name, const QString &value);

/// Lets nobody change the driver's store, until clear().
void makeDriverUnwritable();

/// Replaces the panel's file by one that shows the reminder or not.
void writeReminder(bool enabled);

/// Removes both stores and everything beside them.
void clear();

} // namespace stored
