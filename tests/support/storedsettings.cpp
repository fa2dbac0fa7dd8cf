#include "storedsettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

namespace stored {

QString value(const QString &fileName, const QString &section, const QString &name)
{
    QFile file(fileName);
    // Lines end with two letters on Windows.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
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

void write(const QString &fileName, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(fileName).absolutePath()));
    QFile file(fileName);
    QVERIFY2(file.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(fileName));
    QCOMPARE(file.write(content), content.size());
}

void writeReminder(bool enabled)
{
    write(panelFile(),
          QByteArray("[PopupMessage]\nWakeUp=") + (enabled ? QByteArray("true") : QByteArray("false")) + '\n');
}

} // namespace stored
