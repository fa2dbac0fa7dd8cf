#include "panelstores.h"

#include "driverfile_linux.h"
#include "storedsettings.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

namespace panelstores {

namespace {

// A save links its finished content to a name of this form, and renames that.
const QRegularExpression temporaryName(QStringLiteral("^(ASIODRIVER\\.conf|KD-MXSeries\\.ini)\\.[A-Za-z]{6}$"));
const QRegularExpression lockName(QStringLiteral("^(ASIODRIVER\\.conf|KD-MXSeries\\.ini)\\.lock$"));
const QRegularExpression storeName(QStringLiteral("^(ASIODRIVER\\.conf|KD-MXSeries\\.ini)$"));

const QRegularExpression driverLine(QStringLiteral("^(blockFrames=\\d+|sampleType=\\d+|WakeUp=(true|false))$"));
const QRegularExpression panelLine(QStringLiteral("^WakeUp=(true|false)$"));

QFileInfoList files()
{
    QFileInfoList found;
    const QString folder = QFileInfo(stored::panelFile()).path();
    constexpr auto everything = QDir::Files | QDir::Hidden | QDir::System;
    for (QDirIterator entry(folder, everything, QDirIterator::Subdirectories); entry.hasNext();) {
        entry.next();
        found.append(entry.fileInfo());
    }
    return found;
}

QStringList filesNamed(const QRegularExpression &name)
{
    QStringList found;
    for (const QFileInfo &file : files()) {
        if (name.match(file.fileName()).hasMatch())
            found.append(file.filePath());
    }
    return found;
}

QString damageOf(const QString &fileName, const QString &section, const QRegularExpression &known)
{
    QFile file(fileName);
    // An empty one is as good as none: what was stored before would be missed by its content.
    if (!file.exists() || file.size() == 0)
        return {};
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1 cannot be read").arg(fileName);
    const QByteArray bytes = file.readAll();
    if (!bytes.endsWith('\n'))
        return QStringLiteral("%1 ends in mid-line: %2").arg(fileName, QString::fromUtf8(bytes));
    QStringList lines = QString::fromUtf8(bytes.chopped(1)).split(u'\n');
    if (lines.takeFirst() != u'[' + section + u']')
        return QStringLiteral("%1 begins with another section: %2").arg(fileName, QString::fromUtf8(bytes));
    QSet<QString> names;
    for (const QString &line : std::as_const(lines)) {
        const QString name = line.section(u'=', 0, 0);
        if (!known.match(line).hasMatch() || names.contains(name))
            return QStringLiteral("%1 holds \"%2\"").arg(fileName, line);
        names.insert(name);
    }
    return {};
}

} // namespace

Content content()
{
    return {stored::driverValue(QStringLiteral("blockFrames")), stored::driverValue(QStringLiteral("sampleType")),
            stored::driverValue(QStringLiteral("WakeUp")),
            stored::value(stored::panelFile(), QStringLiteral("PopupMessage"), QStringLiteral("WakeUp"))};
}

QString toText(const Content &content)
{
    return QStringLiteral("blockFrames=%1 sampleType=%2 WakeUp=%3, panel's WakeUp=%4")
        .arg(content.blockFrames, content.sampleType, content.driverReminder, content.panelReminder);
}

QString damage()
{
    QString found = damageOf(driverFile(), QStringLiteral("General"), driverLine)
        + damageOf(stored::panelFile(), QStringLiteral("PopupMessage"), panelLine);
    for (const QFileInfo &file : files()) {
        const QString name = file.fileName();
        if (!storeName.match(name).hasMatch() && !lockName.match(name).hasMatch()
            && !temporaryName.match(name).hasMatch())
            found += QStringLiteral("nobody knows %1").arg(file.filePath());
    }
    return found;
}

QStringList locks()
{
    return filesNamed(lockName);
}

QStringList temporaryFiles()
{
    return filesNamed(temporaryName);
}

} // namespace panelstores
