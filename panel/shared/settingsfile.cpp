#include "settingsfile.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>

#include <tuple>

namespace settingsfile {

namespace {

constexpr qint64 largestFile = 1'048'576;

// A save takes milliseconds.
constexpr int patienceMs = 500;

QString badNameOf(const QString &fileName)
{
    return fileName + QStringLiteral(".bad");
}

/// The first unused name for a broken file.
QString freeBadNameOf(const QString &fileName)
{
    QString name = badNameOf(fileName);
    for (int number = 2; QFileInfo::exists(name); ++number)
        name = badNameOf(fileName) + QStringLiteral(".%1").arg(number);
    return name;
}

/// Whether there is anything of this name, even a symbolic link that leads nowhere.
bool isTaken(const QString &fileName)
{
    const QFileInfo info(fileName);
    return info.exists() || info.isSymLink();
}

/// Whether the lock is free by now, or becomes so while another process ends its save.
bool becomesFree(const QString &lock)
{
    // Opening anything else would fail, follow a link or, with a pipe, never return.
    if (const QFileInfo info(lock); !info.isFile() || info.isSymLink())
        return false;
    // This asks the kernel whether a living process holds the lock, and takes none away from its owner.
    QLockFile(lock).removeStaleLockFile();
    return !isTaken(lock) || QLockFile(lock).tryLock(patienceMs);
}

/// Makes sure that QSettings will get its lock; false when it would wait for ever.
bool freeLock(const QString &lock)
{
    if (!isTaken(lock) || becomesFree(lock))
        return true;
    // Held by a process that hangs, or not a thing that this user could ever lock.
    if (!QFile::remove(lock))
        QFile::rename(lock, freeBadNameOf(lock));
    return !isTaken(lock);
}

void setAsideUnusable(const QString &fileName)
{
    const QFileInfo info(fileName);
    if (!info.exists() || info.isDir())
        return;
    if (!info.isFile() || info.size() > largestFile)
        QFile::rename(fileName, freeBadNameOf(fileName));
}

void keepUnparsable(const QString &fileName)
{
    const QSettings probe(fileName, QSettings::IniFormat);
    std::ignore = probe.allKeys(); // Sections are parsed when they are first asked for.
    if (probe.status() == QSettings::FormatError)
        QFile::copy(fileName, badNameOf(fileName));
}

} // namespace

void prepare(const QString &fileName)
{
    setAsideUnusable(fileName);
    keepUnparsable(fileName);
}

void saveValue(QSettings &settings, const QString &key, const QVariant &value)
{
    const bool isFile = settings.format() == QSettings::IniFormat;
    if (!isFile || freeLock(settings.fileName() + QStringLiteral(".lock")))
        settings.setValue(key, value);
}

} // namespace settingsfile
