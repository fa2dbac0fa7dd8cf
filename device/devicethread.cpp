#include "devicethread.h"

#include <QCoreApplication>

namespace {

constinit std::atomic<bool> applicationExists = false;

// Counts what a waiting thread may have waited for.
constinit std::atomic<unsigned> wakeUps = 0;

void wakeUp()
{
    wakeUps.fetch_add(1);
    wakeUps.notify_all();
}

void forgetApplication()
{
    applicationExists.store(false);
}

void announceApplication()
{
    qAddPostRoutine(forgetApplication);
    applicationExists.store(true);
    wakeUp();
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(announceApplication)

DeviceThread::DeviceThread(QObject *parent)
    : QThread(parent)
{
}

void DeviceThread::release()
{
    m_released.store(true);
    wakeUp();
}

void DeviceThread::run()
{
    while (!applicationExists.load() && !m_released.load()) {
        const unsigned seen = wakeUps.load();
        if (!applicationExists.load() && !m_released.load())
            wakeUps.wait(seen);
    }
    if (!m_released.load())
        exec();
}
