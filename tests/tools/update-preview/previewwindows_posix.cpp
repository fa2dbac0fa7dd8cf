#include "previewwindows.h"

#include "windowsearch.h"

#include <QProcess>

namespace previewwindows {

QStringList find(qint64 processId, const QString &title)
{
    return searchWindows(processId, title);
}

void press(const QString &window, const QStringList &keys)
{
    QProcess::execute(QStringLiteral("xdotool"),
                      QStringList{QStringLiteral("windowactivate"), QStringLiteral("--sync"), window,
                                  QStringLiteral("key"), QStringLiteral("--clearmodifiers")}
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
