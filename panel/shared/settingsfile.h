#pragma once

#include <QString>

class QSettings;
class QVariant;

/**
 * What QSettings leaves to be done so that a settings file can neither hang the panel nor lose its content.
 *
 * All functions may be called from any thread and block for a few file operations unless noted otherwise. Nothing is
 * reported: a value that cannot be stored is left out, as QSettings does by itself on a full or read-only disk.
 */
namespace settingsfile {

/**
 * Looks after a settings file before it is opened:
 *
 * - What cannot be a settings file (a pipe and the like, which would block the reader, or more than a mebibyte) is
 *   moved to "<file>.bad", followed by a number if that name is taken.
 * - A file with lines that do not parse is copied to "<file>.bad", because a save drops such lines. A copy that is
 *   already there is the older one and stays.
 *
 * Trips people: call it before each opening, not after. QSettings reports lines that do not parse only to the object
 * that parsed them first.
 *
 * @param fileName  full path of an INI file, which need not exist
 *
 * Rests on QFile and QSettings.
 */
void prepare(const QString &fileName);

/**
 * Stores a value, unless saving would hang.
 *
 * A process that was killed while it saved leaves "<file>.lock" behind, and QSettings would wait for it: for half a
 * minute, or for ever. A lock that no living process holds is removed. So is one that is held for longer than a save
 * can take; that does no harm, since a save replaces the file as a whole. A lock that can neither be removed nor
 * renamed means that the folder cannot be written either, and the value is left out.
 *
 * @param settings  an open store of any format; the save happens, at the latest, when it is destroyed
 * @param key       as for QSettings::setValue(): below the group that is open
 * @param value     what to store; in the registry its type decides that of the value: a number becomes a REG_DWORD, a
 *                  bool a text
 *
 * Blocks for half a second where another process hangs in a save. Rests on QSettings and QLockFile.
 */
void saveValue(QSettings &settings, const QString &key, const QVariant &value);

} // namespace settingsfile
