#include "servicelog.h"

#include "output.h"

#include <QLoggingCategory>

#include <utility>

namespace servicelog {

namespace {

std::function<void(const QString &)> tell;

void drop(QtMsgType type, const QMessageLogContext &, const QString &line)
{
    // Without a display Qt warns of what it cannot do then.
    if (type == QtCriticalMsg || type == QtFatalMsg)
        output::writeLine(line);
}

void pass(QtMsgType type, const QMessageLogContext &, const QString &line)
{
    output::writeLine(line);
    if (type == QtDebugMsg)
        tell(line);
}

} // namespace

void silence()
{
    qInstallMessageHandler(drop);
}

void show(std::function<void(const QString &)> listener)
{
    tell = std::move(listener);
    // Regardless of the user's rules for logging: these lines are what this program is for.
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, true);
    qInstallMessageHandler(pass);
}

} // namespace servicelog
