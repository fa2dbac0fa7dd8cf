#include "debuglines.h"

#include <utility>

namespace {

QtMessageHandler previousHandler = nullptr;
QStringList lines;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtDebugMsg)
        lines.append(text);
    if (previousHandler != nullptr)
        previousHandler(type, context, text);
}

} // namespace

DebugLines::DebugLines()
{
    lines.clear();
    previousHandler = qInstallMessageHandler(collect);
}

DebugLines::~DebugLines()
{
    qInstallMessageHandler(previousHandler);
}

QStringList DebugLines::take()
{
    return std::exchange(lines, {});
}
