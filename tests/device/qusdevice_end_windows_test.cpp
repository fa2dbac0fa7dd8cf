// The end of a device while a transfer of its worker hangs in a real driver.

#include "driverscene.h"
#include "qusdevice.h"
#include "usplatform.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <memory>

namespace {

constexpr int patience_ms = 20'000;

class QUSDeviceEnd : public DriverScene
{
protected:
    /// Whether a transfer hangs in the driver, in the end.
    static bool isHeld()
    {
        const QDeadlineTimer limit(patience_ms);
        while (state().held == 0 && !limit.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return state().held == 1;
    }

    int argc = 0;
    QCoreApplication application = QCoreApplication(argc, nullptr);
};

} // namespace

TEST_F(QUSDeviceEnd, AHangingTransferOfTheWorkerIsCalledOff)
{
    const uint32_t calledOffBefore = state().called_off;
    auto device = std::make_unique<QUSDevice>();
    ASSERT_TRUE(UnitAccess(0).hold(true));
    device->request_version();
    ASSERT_TRUE(isHeld());
    device.reset();
    const unitcontrol_state_t end = state();
    EXPECT_EQ(end.held, 0U);
    EXPECT_EQ(end.called_off, calledOffBefore + 1);
    EXPECT_EQ(end.unit.transfers, 0U);
    // A device that has given its worker up leaves its gate over the platform.
    EXPECT_EQ(usplatform(), usplatform_unwatched());
}
