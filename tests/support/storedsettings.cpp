#include "storedsettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

namespace stored {

namespace {

QString folder(const QString &configFolder)
{
    return (configFolder.isEmpty() ? qEnvironmentVariable("XDG_CONFIG_HOME") : configFolder)
        + QStringLiteral("/VELMAR");
}

} // namespace

QString driverFile(const QString &configFolder)
{
    return folder(configFolder) + QStringLiteral("/KD-MX_Series/ASIODRIVER.conf");
}

QString panelFile(const QString &configFolder)
{
    return folder(configFolder) + QStringLiteral("/KD-MXSeries.ini");
}

QString value(const QString &fileName, const QString &section, const QString &name)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QString current;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (const QString &line : lines) {
        if (line.startsWith(u'['))
            current = line.section(u'[', 1).section(u']', 0, 0);
        else if (current == section && line.section(u'=', 0, 0) == name)
            return line.section(u'=', 1);
    }
    return {};
}

QString driverValue(const QString &name, const QString &configFolder)
{
    return value(driverFile(configFolder), QStringLiteral("General"), name);
}

void write(const QString &fileName, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(fileName).absolutePath()));
    QFile file(fileName);
    QVERIFY2(file.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(fileName));
    QCOMPARE(file.write(content), content.size());
}

void writeDriver(const QString &blockFrames, const QString &sampleType, const QString &configFolder)
{
    QString text = QStringLiteral("[General]\n");
    if (!blockFrames.isNull())
        text += QStringLiteral("blockFrames=") + blockFrames + u'\n';
    if (!sampleType.isNull())
        text += QStringLiteral("sampleType=") + sampleType + u'\n';
    write(driverFile(configFolder), text.toUtf8());
}

void writeReminder(bool enabled, const QString &configFolder)
{
    write(panelFile(configFolder),
          QByteArray("[PopupMessage]\nWakeUp=") + (enabled ? QByteArray("true") : QByteArray("false")) + '\n');
}

void clear()
{
    QDir(folder({})).removeRecursively();
}

} // namespace stored
