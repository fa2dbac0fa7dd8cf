#pragma once

#include <QString>

/**
 * Makes an INI file safe to open with QSettings, which by itself would wait or lose data in two cases:
 *
 * - A process that was killed while it saved leaves "<file>.lock" behind. When that lock is empty or garbled, the
 *   next save would wait for half a minute. A lock that no living process holds is removed.
 * - A save drops every line that does not parse. A file with such lines is first copied to "<file>.bad", once: a
 *   copy that is already there is the older one and stays.
 *
 * Call it before the QSettings object is made. Nothing is reported: where the folder cannot be written, a save
 * would fail just the same.
 *
 * @param fileName  full path of the INI file; it need not exist
 *
 * Blocks for a few file operations. May be called from any thread. Rests on QLockFile, QSettings and QFile.
 */
void prepareSettingsFile(const QString &fileName);
