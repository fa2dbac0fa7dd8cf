#include "previewwindows.h"

#include <QProcess>

namespace previewwindows {

namespace {

QString xdotool(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

QStringList find(qint64 processId, const QString &title)
{
    return xdotool({QStringLiteral("search"), QStringLiteral("--all"), QStringLiteral("--onlyvisible"),
                    QStringLiteral("--pid"), QString::number(processId), QStringLiteral("--name"), u'^' + title + u'$'})
        .split(u'\n', Qt::SkipEmptyParts);
}

void press(const QString &window, const QStringList &keys)
{
    xdotool(QStringList{QStringLiteral("windowactivate"), QStringLiteral("--sync"), window, QStringLiteral("key"),
                        QStringLiteral("--clearmodifiers")}
            + keys);
}

QString settingsFolder(const QString &home)
{
    return home + QStringLiteral("/config");
}

QString withoutNoise(const QString &error)
{
    return error;
}

QString temporaryVariable()
{
    return QStringLiteral("TMPDIR");
}

} // namespace previewwindows
