#include "devicethread.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <condition_variable>
#include <mutex>

namespace {

/// What the threads wait for. Atomics cannot be waited for on every system: MinGW's standard library loses wake-ups.
struct Application
{
    // Held while an event loop is made, so that the application object, which the loop needs, stays meanwhile.
    std::mutex lock;
    std::condition_variable changed;
    bool exists = false;
};

/// Never destroyed: threads wait for it before main() and after it.
Application &application()
{
    static auto *const only = new Application;
    return *only;
}

void forgetApplication()
{
    const std::lock_guard lock(application().lock);
    application().exists = false;
}

void announceApplication()
{
    qAddPostRoutine(forgetApplication);
    const std::lock_guard lock(application().lock);
    application().exists = true;
    application().changed.notify_all();
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(announceApplication)

DeviceThread::DeviceThread(QObject *parent)
    : QThread(parent)
{
}

std::unique_lock<std::mutex> DeviceThread::hold()
{
    return std::unique_lock(application().lock);
}

void DeviceThread::release()
{
    const std::lock_guard lock(application().lock);
    m_isReleased = true;
    application().changed.notify_all();
}

void DeviceThread::run()
{
    // As QThread::exec(), but its event loop is made while the application object is sure to be there.
    std::unique_lock lock(application().lock);
    application().changed.wait(lock, [this] { return m_isReleased || application().exists; });
    if (m_isReleased)
        return;
    QEventLoop loop;
    lock.unlock();
    // Comes back at once when quit() was called before.
    loop.exec();
    // After run(), Qt deletes the thread's event dispatcher, which must wait while somebody holds the lock.
    lock.lock();
}

bool DeviceThread::waitForEnd(QDeadlineTimer deadline)
{
    if (!wait(deadline))
        return false;
    // Taken last in run(): tools that check for races know this lock, and cannot see into wait().
    const std::lock_guard lock(application().lock);
    return true;
}
