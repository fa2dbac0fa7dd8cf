#include "driverscene.h"

#include "usplatform.h"

#include <windows.h>

#include <functional>
#include <string>
#include <thread>

// A transfer that hangs in the driver, and what the platform does about it.

namespace {

/// Asks again and again until it is so, or too much time has passed.
bool becomes(const std::function<bool()> &is_so)
{
    const ULONGLONG end = GetTickCount64() + 20'000;
    while (!is_so()) {
        if (GetTickCount64() > end)
            return false;
        Sleep(1);
    }
    return true;
}

class DriverCancel : public DriverScene
{
protected:
    void SetUp() override
    {
        DriverScene::SetUp();
        ASSERT_TRUE(UnitAccess(0).hold(true));
    }

    void TearDown() override
    {
        if (reader.joinable()) {
            UnitAccess(0).hold(false);
            reader.join();
        }
        DriverScene::TearDown();
    }

    /// Lets another thread read; true when it hangs in the driver.
    bool begin_read()
    {
        reader = std::thread([this] { result = read(); });
        return becomes([] { return state().held == 1; });
    }

    std::thread reader;
    int result = -1;
};

} // namespace

TEST_F(DriverCancel, AHangingTransferIsCalledOff)
{
    const uint32_t called_off_before = state().called_off;
    const std::string lines = lines_of([&] {
        ASSERT_TRUE(begin_read());
        // What the device does at the end of the program.
        ASSERT_NE(usplatform_default.cancel, nullptr);
        EXPECT_TRUE(becomes([&] {
            usplatform_default.cancel();
            return state().held == 0;
        }));
        reader.join();
    });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(lines, "../../ustest/usbdevs_win.cpp:#:ERROR\n" + error_lines(ERROR_OPERATION_ABORTED));
    const unitcontrol_state_t end = state();
    EXPECT_EQ(end.called_off, called_off_before + 1);
    EXPECT_EQ(end.unit.transfers, 0U);
    EXPECT_EQ(end.opened, end.closed + 1);
}

TEST_F(DriverCancel, AHangingTransferGoesOnWhenTheUnitDoes)
{
    ASSERT_TRUE(begin_read());
    EXPECT_EQ(state().unit.transfers, 0U);
    ASSERT_TRUE(UnitAccess(0).hold(false));
    reader.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(state().unit.transfers, 1U);
}

TEST_F(DriverCancel, AUnitThatIsPulledOutEndsAHangingTransfer)
{
    const std::string lines = lines_of([&] {
        ASSERT_TRUE(begin_read());
        unplug(0);
        reader.join();
    });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(lines, "../../ustest/usbdevs_win.cpp:#:ERROR\n" + error_lines(ERROR_DEVICE_NOT_CONNECTED));
}

TEST_F(DriverCancel, CallingOffWithoutATransferDoesNothing)
{
    usplatform_default.cancel();
    ASSERT_TRUE(UnitAccess(0).hold(false));
    EXPECT_EQ(read(), 0);
}
