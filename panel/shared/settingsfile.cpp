#include "settingsfile.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>

#include <tuple>

namespace {

void removeDeadLock(const QString &fileName)
{
    const QString lock = fileName + QStringLiteral(".lock");
    // The call asks the kernel whether a living process holds the lock; it never takes one away from its owner.
    QLockFile(lock).removeStaleLockFile();
    // A folder of that name is nobody's lock, and QSettings would wait for it for ever.
    if (QFileInfo(lock).isDir())
        QFile::rename(lock, lock + QStringLiteral(".bad"));
}

void keepUnparsable(const QString &fileName)
{
    const QSettings probe(fileName, QSettings::IniFormat);
    std::ignore = probe.allKeys(); // Sections are parsed when they are first asked for.
    if (probe.status() == QSettings::FormatError)
        QFile::copy(fileName, fileName + QStringLiteral(".bad"));
}

} // namespace

void prepareSettingsFile(const QString &fileName)
{
    removeDeadLock(fileName);
    keepUnparsable(fileName);
}
