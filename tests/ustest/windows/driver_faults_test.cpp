#include "driverscene.h"

#include "usctl.h"

#include <windows.h>

#include <string>
#include <vector>

// What goes wrong in the driver, as the link tells it: result 2 for error 31, 1 for every other failure.

namespace {

const std::string transport_line = "../../ustest/usbdevs_win.cpp:#:ERROR\n";

class DriverFaults : public DriverScene
{
protected:
    /// A read with this script fails so, and the next one works.
    void expect_one_failed_read(const char *fault, int result, const std::string &lines)
    {
        script(fault);
        EXPECT_EQ(lines_of([&] { EXPECT_EQ(read(), result); }), lines) << fault;
        EXPECT_EQ(read(), 0) << fault;
        EXPECT_EQ(state().unit.transfers, 2U) << fault;
    }

    /// The same for a write.
    void expect_one_failed_write(const char *fault, int result, const std::string &lines)
    {
        script(fault);
        EXPECT_EQ(lines_of([&] { EXPECT_EQ(write(), result); }), lines) << fault;
        EXPECT_EQ(state().unit.autopowersave, 1) << fault;
        EXPECT_EQ(write(), 0) << fault;
        EXPECT_EQ(state().unit.autopowersave, 0) << fault;
    }

    /// An I/O control of the test's own making; the error code, 0 when it succeeds.
    uint32_t control(const std::vector<uint8_t> &in, uint32_t out_length, uint32_t code = USDEV_IOCTL_TRANSFER)
    {
        const intptr_t handle = usdev_open(unit->path);
        EXPECT_NE(handle, -1);
        uint8_t out[64] = {};
        DWORD count = 0;
        const BOOL done = DeviceIoControl(reinterpret_cast<HANDLE>(handle), code, const_cast<uint8_t *>(in.data()),
                                          static_cast<DWORD>(in.size()), out_length == 0 ? nullptr : out, out_length,
                                          &count, nullptr);
        const uint32_t error = done != FALSE ? 0 : GetLastError();
        CloseHandle(reinterpret_cast<HANDLE>(handle));
        return error;
    }
};

DWORD handles()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

} // namespace

TEST_F(DriverFaults, AUnitThatDoesNotRespondIsResultTwo)
{
    for (const char *const fault : {"stall", "late"}) {
        expect_one_failed_read(fault, 2, transport_line + error_lines(ERROR_GEN_FAILURE));
        expect_one_failed_write(fault, 2, transport_line + error_lines(ERROR_GEN_FAILURE));
    }
}

TEST_F(DriverFaults, ARefusalIsResultOne)
{
    expect_one_failed_read("hard", 1, transport_line + error_lines(ERROR_ACCESS_DENIED));
    expect_one_failed_write("hard", 1, transport_line + error_lines(ERROR_ACCESS_DENIED));
}

TEST_F(DriverFaults, ShortBlocksAreResultOneWithoutASystemError)
{
    for (const char *const fault : {"short:0", "short:20", "short:63"})
        expect_one_failed_read(fault, 1, transport_line);
}

TEST_F(DriverFaults, AUnitThatIsPulledOutIsResultOne)
{
    expect_one_failed_read("unplug", 1, transport_line + error_lines(ERROR_DEVICE_NOT_CONNECTED));
    expect_one_failed_write("unplug", 1, transport_line + error_lines(ERROR_DEVICE_NOT_CONNECTED));
    script("unplug*3");
    lines_of([&] {
        for (int times = 0; times < 3; ++times)
            EXPECT_EQ(read(), 1);
    });
    EXPECT_EQ(read(), 0);
}

TEST_F(DriverFaults, TwoTransientFailuresOfASendAreBorneAndThreeAreNot)
{
    script("stall*2@1");
    lines_of([&] { EXPECT_EQ(usctl_set_u8(&unit, 99), 0); });
    EXPECT_EQ(state().unit.setting_u8, 99);
    script("stall*3@1");
    lines_of([&] { EXPECT_EQ(usctl_set_u8(&unit, 99), 1); });
    EXPECT_NE(state().unit.setting_u8, 99);
    EXPECT_EQ(state().unit.transfers, 4U);
}

TEST_F(DriverFaults, ARefusedWriteCountsAsSent)
{
    script("hard@1");
    lines_of([&] { EXPECT_EQ(usctl_set_u8(&unit, 99), 0); });
    EXPECT_NE(state().unit.setting_u8, 99);
    EXPECT_EQ(state().unit.transfers, 2U);
}

TEST_F(DriverFaults, TheDriverTakesNothingButItsRequests)
{
    const std::vector<uint8_t> good_read = {1, 0, 0, 0, 0, 0, 0, 0, 23, 0, 0, 0, 0, 0, 0, 30, 0, 0, 0, 0};
    ASSERT_EQ(control(good_read, 64), 0U);
    const std::vector<uint8_t> good_write = {0, 0, 0, 0, 3, 0, 0, 0, 23, 0, 0, 0, 0, 0, 0, 29, 0x13, 2, 99, 0};
    ASSERT_EQ(control(good_write, 0), 0U);
    ASSERT_EQ(state().unit.setting_u8, 99);

    // Each byte of a header in its turn; the read's four bytes without meaning as well.
    for (size_t at = 0; at < 16; ++at) {
        std::vector<uint8_t> bad = good_read;
        bad[at] = static_cast<uint8_t>(bad[at] ^ 0x80);
        EXPECT_EQ(control(bad, 64), uint32_t{ERROR_INVALID_PARAMETER}) << at;
        bad = good_write;
        bad[at] = static_cast<uint8_t>(bad[at] ^ 0x80);
        EXPECT_EQ(control(bad, 0), uint32_t{ERROR_INVALID_PARAMETER}) << at;
    }
    EXPECT_EQ(control(good_read, 63), uint32_t{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(control({good_read.begin(), good_read.end() - 1}, 64), uint32_t{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(control({good_write.begin(), good_write.end() - 1}, 0), uint32_t{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(control({}, 64), uint32_t{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(control(good_read, 64, 0x00222004), uint32_t{ERROR_INVALID_FUNCTION});
    // None of them has reached the unit.
    EXPECT_EQ(state().unit.transfers, 2U);
}

TEST_F(DriverFaults, FailuresLeaveNothingOpen)
{
    script("stall*2,hard*2@2,short:1*2@4,unplug*2@6");
    lines_of([&] { read(); });
    const DWORD before = handles();
    lines_of([&] {
        for (int times = 0; times < 4; ++times) {
            read();
            write();
        }
    });
    // The system's own threads come and go, with theirs. What leaks stays.
    for (int times = 0; handles() > before && times < 2000; ++times)
        Sleep(10);
    EXPECT_LE(handles(), before);
    const unitcontrol_state_t end = state();
    EXPECT_EQ(end.opened, end.closed + 1);
}
