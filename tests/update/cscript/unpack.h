#pragma once

class QDir;
class QString;

/**
 * Unpacks a ZIP archive into a folder.
 *
 * @return whether all of it is there
 *
 * Rests on libzip; on Windows, where that is not at hand, it takes stored entries only.
 */
bool unpack(const QString &archive, const QDir &folder);
