#include "panelprocess.h"

#include "windowsearch.h"

namespace {

QString xdotool(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

QStringList PanelProcess::windows(const QString &title) const
{
    return searchWindows(pid(), title);
}

QString PanelProcess::activeWindow()
{
    return xdotool({QStringLiteral("getactivewindow")}).trimmed();
}

void PanelProcess::minimise()
{
    xdotool({QStringLiteral("windowminimize"), windows(QStringLiteral("VELMAR KD-MX Series")).value(0)});
}

void PanelProcess::closeWindow(const QString &id)
{
    xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), id, QStringLiteral("key"),
             QStringLiteral("alt+F4")});
}

QString PanelProcess::withoutTheSystemsLines(const QString &output)
{
    return output;
}
