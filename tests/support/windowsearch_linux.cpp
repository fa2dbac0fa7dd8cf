#include "windowsearch.h"

#include <QProcess>

QStringList searchWindows(qint64 processId, const QString &title)
{
    constexpr int attempts = 100;
    QProcess process;
    for (int i = 0; i < attempts; ++i) {
        process.start(QStringLiteral("xdotool"),
                      {QStringLiteral("search"), QStringLiteral("--all"), QStringLiteral("--onlyvisible"),
                       QStringLiteral("--pid"), QString::number(processId), QStringLiteral("--name"),
                       u'^' + title + u'$'});
        process.waitForFinished();
        // A window that goes while the search looks at it, whosever it is, ends the search: it is tried again.
        if (!process.readAllStandardError().contains("BadWindow"))
            break;
        process.readAllStandardOutput();
    }
    return QString::fromUtf8(process.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}
