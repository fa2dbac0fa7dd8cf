// The end of a device that stalls in the middle of what it posts to its worker: nothing that it uses may go meanwhile.

#include "qusdevice.h"
#include "usplatform.h"
#include "virtualplatform.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <memory>
#include <thread>

namespace {

// The device asks its thread to quit, which wakes it, and then posts to its worker, which wakes it once more. The
// pauses make the thread be on its way out when that begins, and be gone before it ends.
constexpr std::chrono::milliseconds behindTheFirst(50);
constexpr std::chrono::milliseconds onTheWayOut(100);
constexpr std::chrono::milliseconds withinTheSecond(300);

std::atomic_bool isEnding = false;
thread_local bool isOwner = false;
int wakeUps = 0; ///< by the owner, in one end
std::atomic<void *> woken = nullptr; ///< the event loop that the owner is about to wake
std::atomic_bool isGone = false; ///< it went meanwhile
std::atomic_bool hasPaused = false; ///< the thread, on its way out

using ContextFunction = void (*)(void *);

ContextFunction original(const char *name)
{
    return reinterpret_cast<ContextFunction>(dlsym(RTLD_NEXT, name));
}

} // namespace

// In the place of two functions of GLib: with one Qt wakes an event loop, with the other it releases one.
extern "C" {
void g_main_context_wakeup(void *context);
void g_main_context_unref(void *context);
}

void g_main_context_wakeup(void *context)
{
    static const ContextFunction wakeUp = original("g_main_context_wakeup");
    if (isEnding && !isOwner && !hasPaused.exchange(true))
        std::this_thread::sleep_for(onTheWayOut);
    if (!isEnding || !isOwner)
        return wakeUp(context);
    if (++wakeUps == 1) {
        wakeUp(context);
        std::this_thread::sleep_for(behindTheFirst);
        return;
    }
    woken = context;
    std::this_thread::sleep_for(withinTheSecond);
    woken = nullptr;
    if (!isGone)
        wakeUp(context);
}

void g_main_context_unref(void *context)
{
    static const ContextFunction unref = original("g_main_context_unref");
    isGone = isGone || context == woken;
    unref(context);
}

class QUSDeviceEndLinuxTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        virtualunit_init(&m_unit);
        usplatform_use(virtualplatform::with(&m_unit, virtualplatform::Pauses::Counted));
    }

    void cleanup() { usplatform_use(nullptr); }

    void theThreadOutlivesWhatIsPostedToIt()
    {
        auto device = std::make_unique<QUSDevice>();
        bool isKnown = false;
        connect(device.get(), &QUSDevice::sig_recv_version, this, [&isKnown] { isKnown = true; });
        device->request_version();
        QTRY_VERIFY(isKnown);
        // The worker has nothing left to do.
        QTest::qWait(50);
        isOwner = true;
        isEnding = true;
        device.reset();
        isEnding = false;
        if (wakeUps == 0)
            QSKIP("Qt's event loops here do not stand on GLib.");
        QVERIFY(wakeUps > 1);
        QVERIFY(!isGone);
    }

private:
    virtualunit_t m_unit = {};
};

QTEST_GUILESS_MAIN(QUSDeviceEndLinuxTest)
#include "qusdevice_end_linux_test.moc"
