#include "servicelog.h"

#include <QDeadlineTimer>
#include <QThread>

#include <mutex>
#include <utility>

namespace {

const QString prefix = QStringLiteral("UpdateSoftware: ");

// Not a QMutex: ThreadSanitizer sees only some of its ways.
std::mutex mutex;
QStringList ofSoftware;
QStringList all;
QtMessageHandler previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtDebugMsg) {
        const std::scoped_lock lock(mutex);
        all.append(text);
        if (text.startsWith(prefix))
            ofSoftware.append(text.mid(prefix.size()));
    }
    if (previousHandler != nullptr)
        previousHandler(type, context, text);
}

} // namespace

ServiceLog::ServiceLog()
{
    forget();
    previousHandler = qInstallMessageHandler(collect);
}

ServiceLog::~ServiceLog()
{
    qInstallMessageHandler(previousHandler);
}

QStringList ServiceLog::take()
{
    const std::scoped_lock lock(mutex);
    return std::exchange(ofSoftware, {});
}

bool ServiceLog::contains(const QString &line)
{
    const std::scoped_lock lock(mutex);
    return all.contains(line);
}

bool ServiceLog::waitFor(const QString &line)
{
    const QDeadlineTimer patience(30'000);
    while (!contains(line) && !patience.hasExpired())
        QThread::msleep(1);
    return contains(line);
}

void ServiceLog::forget()
{
    const std::scoped_lock lock(mutex);
    ofSoftware.clear();
    all.clear();
}
