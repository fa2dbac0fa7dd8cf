#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/**
 * What the stand-in for the script host was given, in the moment that it began: written by it, read by tests, in the
 * file that KDMX_CSCRIPT_RECORD names.
 */
struct HostRecord
{
    qint64 pid = 0; ///< 0: the host has not begun
    QStringList arguments;
    QString folder; ///< the current one
    QByteArray script; ///< the bytes of the first argument, as a file in that folder
    QStringList files; ///< names of the files in that folder
    QByteArray archive; ///< SHA-256 of the second argument, backslashes taken for slashes; empty without such a file

    /// $KDMX_CSCRIPT_RECORD
    static QString fileName();

    /// Writes a record of this process, all of it at once. Does nothing where no file is named.
    static void write(const QStringList &arguments);

    /// What was written last, or a record with pid 0.
    static HostRecord read();
};
