// The device object in a real system: a unit that is plugged in later, pulled out and plugged in again.

#include "guestdevice.h"

#include "qusdevice.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace {

using namespace std::chrono_literals;

/// A device and the version that it announced last.
class Owner
{
public:
    Owner()
    {
        QObject::connect(&m_device, &QUSDevice::sig_recv_version, &m_loop, [this](uint16_t version) {
            m_version = version;
            m_loop.quit();
        });
    }

    /// Asks for the version, again while nothing comes: it waits for the next read. None after ten seconds.
    std::optional<uint16_t> version()
    {
        m_version.reset();
        QTimer again;
        QObject::connect(&again, &QTimer::timeout, &m_loop, [this] { m_device.request_version(); });
        again.start(200ms);
        QTimer::singleShot(10s, &m_loop, &QEventLoop::quit);
        m_device.request_version();
        m_loop.exec();
        return m_version;
    }

private:
    QUSDevice m_device;
    QEventLoop m_loop;
    std::optional<uint16_t> m_version;
};

} // namespace

TEST(GuestDeviceUnit, PicksUpAUnitPluggedInLater)
{
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    Owner owner;
    EXPECT_EQ(owner.version(), 0);

    GuestUnit unit(1);
    const uint16_t version = unit.with([](const virtualunit_t &state) { return state.version; });
    EXPECT_EQ(owner.version(), version);

    unit.usb.unplug();
    EXPECT_EQ(owner.version(), 0);
    unit.usb.plug();
    EXPECT_EQ(owner.version(), version);
}
