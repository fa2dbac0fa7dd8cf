// While the unit keeps the worker waiting, the owner's thread does not wait.

#include "qusdevice.h"
#include "requesting.h"
#include "usplatform.h"
#include "virtualplatform.h"

#include <QTest>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

constinit std::atomic<bool> isHeld = false;
constinit std::atomic<bool> hasBegun = false;
constinit decltype(usplatform_t::control) answer = nullptr;

int heldControl(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
                uint32_t *returned)
{
    hasBegun.store(true);
    while (isHeld.load())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return answer(handle, code, in, in_length, out, out_length, returned);
}

} // namespace

class NeverBlocksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        virtualunit_init(&m_unit);
        m_platform = *virtualplatform::with(&m_unit, virtualplatform::Pauses::Real);
        answer = m_platform.control;
        m_platform.control = heldControl;
        usplatform_use(&m_platform);
        hasBegun.store(false);
        isHeld.store(true);
    }

    void cleanup()
    {
        release();
        usplatform_use(nullptr);
    }

    /// If a call waited for the unit, it would wait here for ever.
    void ownerGoesOnWhileTheUnitHoldsTheWorker()
    {
        QUSDevice device;
        device.request_version();
        QTRY_VERIFY(hasBegun.load());
        for (int round = 0; round < 1000; ++round)
            requestEverything(&device);
        device.reset_identity();
        int ticks = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&ticks] { ++ticks; });
        timer.start(0);
        QTRY_VERIFY(ticks > 1000);
        timer.stop();
        QVERIFY(isHeld.load());
        release();
        QCOMPARE(awaitEverything(&device), 0);
    }

private:
    static void release() { isHeld.store(false); }

    virtualunit_t m_unit = {};
    usplatform_t m_platform = {};
};

QTEST_GUILESS_MAIN(NeverBlocksTest)
#include "neverblocks_test.moc"
