#include "debuglines.h"

#include <mutex>
#include <utility>

namespace {

// Every thread logs.
std::mutex mutex;
QtMessageHandler previousHandler = nullptr;
QStringList lines;

QtMessageHandler keep(QtMsgType type, const QString &text)
{
    const std::lock_guard lock(mutex);
    if (type == QtDebugMsg)
        lines.append(text);
    return previousHandler;
}

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (const QtMessageHandler next = keep(type, text))
        next(type, context, text);
}

} // namespace

DebugLines::DebugLines()
{
    const std::lock_guard lock(mutex);
    lines.clear();
    previousHandler = qInstallMessageHandler(collect);
}

DebugLines::~DebugLines()
{
    const std::lock_guard lock(mutex);
    qInstallMessageHandler(previousHandler);
}

QStringList DebugLines::take()
{
    const std::lock_guard lock(mutex);
    return std::exchange(lines, {});
}
