#include "storedsettings.h"

#include "driverfile_linux.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

namespace {

QString folder(const QString &configFolder = QString())
{
    return (configFolder.isEmpty() ? qEnvironmentVariable("XDG_CONFIG_HOME") : configFolder)
        + QStringLiteral("/VELMAR");
}

} // namespace

QString driverFile(const QString &configFolder)
{
    return folder(configFolder) + QStringLiteral("/KD-MX_Series/ASIODRIVER.conf");
}

namespace stored {

QString panelFile()
{
    return folder() + QStringLiteral("/KD-MXSeries.ini");
}

QString driverValue(const QString &name)
{
    return value(driverFile(), QStringLiteral("General"), name);
}

void writeDriver(const QString &blockFrames, const QString &sampleType)
{
    write(driverFile(), "[General]\n");
    if (!blockFrames.isNull())
        addDriverValue(QStringLiteral("blockFrames"), blockFrames);
    if (!sampleType.isNull())
        addDriverValue(QStringLiteral("sampleType"), sampleType);
}

void addDriverValue(const QString &name, const QString &value)
{
    QFile file(driverFile());
    QVERIFY(file.open(QIODevice::Append));
    QVERIFY(file.write((name + u'=' + value + u'\n').toUtf8()) > 0);
}

void makeDriverUnwritable()
{
    const QString place = QFileInfo(driverFile()).path();
    QVERIFY(QDir(place).removeRecursively());
    write(place, "a file, not a folder");
}

void clear()
{
    QDir(folder()).removeRecursively();
}

} // namespace stored
