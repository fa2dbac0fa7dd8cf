#pragma once

#include "zipfile.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/**
 * An installer for tests: it tells that it was started, and how. A shell script, or on Windows the program
 * installerwitness.
 */
namespace installerprogram {

/**
 * The bytes of one, and what it needs to know until the next is asked for.
 *
 * @param marks        a folder, in which it adds its path, the number of its arguments and its current folder, a line
 *                     each, to the file "begun"
 * @param isLongLived  lets it go on until the file "go" is there, and then leave the file "done"
 */
QByteArray content(const QString &marks, bool isLongLived = false);

/// The lines of "begun", once they are whole. The path is told with slashes.
QStringList note(const QString &marks);

/// A package's entry that cannot be started, and why.
struct Unfit
{
    const char *why;
    ZipEntry entry;
};

/// @param name  of the entries
QList<Unfit> unfit(const QString &name);

} // namespace installerprogram
