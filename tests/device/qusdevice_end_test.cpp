// What the end of a device does to a transfer that is under way, and to those queued after it.

#include "qusdevice.h"
#include "virtualplatform.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace {

constinit std::atomic<int> transfers = 0;
constinit std::atomic<bool> isCalledOff = false;

/// A transfer that ends when it is called off: by an error after which the link tries again as a rule.
int heldControl(intptr_t, uint32_t, const void *, uint32_t, void *, uint32_t, uint32_t *returned)
{
    transfers.fetch_add(1);
    while (!isCalledOff.load())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    *returned = 0;
    return 0;
}

void callOff()
{
    isCalledOff.store(true);
}

uint32_t transientError()
{
    return USPLATFORM_ERROR_TRANSIENT;
}

} // namespace

class QUSDeviceEndTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        virtualunit_init(&m_unit);
        m_platform = *virtualplatform::with(&m_unit, virtualplatform::Pauses::Counted);
        m_platform.control = heldControl;
        m_platform.cancel = callOff;
        m_platform.last_error = transientError;
        usplatform_use(&m_platform);
        transfers.store(0);
        isCalledOff.store(false);
    }

    void cleanup() { usplatform_use(nullptr); }

    void noFurtherTransferBegins_data()
    {
        QTest::addColumn<std::function<void(QUSDevice *)>>("begin");
        const auto row = [](const char *name, const std::function<void(QUSDevice *)> &begin) {
            QTest::newRow(name) << begin;
        };
        row("behind a message", [](QUSDevice *device) { Q_EMIT device->sig_us_send(QByteArray("\x18\x01\0\0", 4)); });
        row("with reads waiting", [](QUSDevice *device) {
            for (int count = 0; count < 10; ++count)
                Q_EMIT device->sig_us_recv();
        });
    }

    void noFurtherTransferBegins()
    {
        QFETCH(std::function<void(QUSDevice *)>, begin);
        auto device = std::make_unique<QUSDevice>();
        begin(device.get());
        QTRY_COMPARE(transfers.load(), 1);
        device.reset();
        QVERIFY(isCalledOff.load());
        QCOMPARE(transfers.load(), 1);
    }

private:
    virtualunit_t m_unit = {};
    usplatform_t m_platform = {};
};

QTEST_GUILESS_MAIN(QUSDeviceEndTest)
#include "qusdevice_end_test.moc"
