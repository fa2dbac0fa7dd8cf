#include "devicethread.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <mutex>

namespace {

constinit std::atomic<bool> applicationExists = false;

// Held while an event loop is made: the application object, which that needs, does not go away in the meantime.
constinit std::mutex applicationStays;

// Counts what a waiting thread may have waited for.
constinit std::atomic<unsigned> wakeUps = 0;

void wakeUp()
{
    wakeUps.fetch_add(1);
    wakeUps.notify_all();
}

void forgetApplication()
{
    const std::lock_guard lock(applicationStays);
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
    // As QThread::exec(), but its event loop is made while the application object is sure to be there.
    while (!m_released.load()) {
        const unsigned seen = wakeUps.load();
        std::unique_lock lock(applicationStays);
        if (applicationExists.load()) {
            QEventLoop loop;
            lock.unlock();
            // Comes back at once when quit() was called before.
            loop.exec();
            return;
        }
        lock.unlock();
        if (!m_released.load())
            wakeUps.wait(seen);
    }
}
