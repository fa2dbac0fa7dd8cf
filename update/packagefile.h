#pragma once

#include <QString>

#include <functional>

class QIODevice;

/**
 * Files written whole or not at all.
 *
 * All functions may be called from any thread and block for as long as the disk takes, at most for one more piece once
 * the thread was asked to end (QThread::requestInterruption()). Rests on QFile.
 */
namespace packagefile {

/// What became of the file.
enum class Outcome {
    Saved, ///< all of it is on the disk
    NotOpened, ///< the file cannot be made
    NotWritten, ///< the body or the disk ended too early, or the thread is to end; the file is removed
};

/**
 * Moves everything that the body holds into a file, in pieces of 128 KiB, so that it is never in memory twice.
 *
 * @param body      open for reading; all of it is there
 * @param fileName  full path; a file of this name is replaced
 * @param opened    called once the file is made, before anything of the body is taken
 */
Outcome save(QIODevice &body, const QString &fileName, const std::function<void()> &opened = {});

/// Writes a text file (with the line ends of the system) from UTF-8 bytes with "\n" line ends.
Outcome saveText(const QByteArray &text, const QString &fileName);

} // namespace packagefile
