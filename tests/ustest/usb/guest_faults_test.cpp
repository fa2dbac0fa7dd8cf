// What can go wrong on the cable, through the kernel's own USB.

#include "guestdevice.h"
#include "guestlink.h"

#include "usctl.h"
#include "usplatform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

namespace {

constexpr uint8_t question[] = {USMSG_ID_HZ, USMSG_DATA_TYPE_NONE, 0, 0};

int write_to(const usdev_t *unit)
{
    return usdev_write(unit, USDEV_REQ_WRITE, 0, 0, sizeof question, question);
}

int read_from(const usdev_t *unit)
{
    uint8_t block[64];
    return usdev_read(unit, USDEV_REQ_READ, 0, 0, sizeof block, block);
}

std::chrono::milliseconds time_of(const std::function<void()> &call)
{
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

size_t entries_of(const char *folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

} // namespace

class GuestFaults : public testing::Test
{
protected:
    /// That nothing of a fault is left: the unit is asked for its rate and answers.
    void expect_that_it_works()
    {
        uint32_t hz = 0;
        EXPECT_EQ(usctl_get_hz(&link.unit, &hz), 0);
        EXPECT_EQ(hz, unit.with([](const virtualunit_t &state) { return state.hz; }));
    }

    GuestUnit unit{0};
    GuestLink link;
};

TEST_F(GuestFaults, StalledTransferIsWorthARetry)
{
    unit.strike(VIRTUALUNIT_FAULT_STALL, 2);
    EXPECT_EQ(write_to(link.unit), 2);
    EXPECT_EQ(usplatform()->last_error(), USPLATFORM_ERROR_TRANSIENT);
    EXPECT_EQ(read_from(link.unit), 2);
    EXPECT_EQ(read_from(link.unit), 0);
    expect_that_it_works();
}

TEST_F(GuestFaults, MessageGetsThroughAfterTwoStalls)
{
    uint8_t bytes[] = {USMSG_ID_SET_U8, USMSG_DATA_TYPE_U8, 77, 0, 0};
    const usmsg_buf_t message = {bytes, sizeof bytes, sizeof bytes};
    unit.strike(VIRTUALUNIT_FAULT_STALL, 2);
    const uint32_t before = unit.transfers();
    EXPECT_EQ(usctl_send(&link.unit, &message), 0);
    EXPECT_EQ(unit.transfers() - before, 3U);
    EXPECT_EQ(unit.with([](const virtualunit_t &state) { return state.setting_u8; }), 77);
}

TEST_F(GuestFaults, MessageFailsAfterThreeStalls)
{
    uint8_t bytes[] = {USMSG_ID_SET_U8, USMSG_DATA_TYPE_U8, 78, 0, 0};
    const usmsg_buf_t message = {bytes, sizeof bytes, sizeof bytes};
    unit.strike(VIRTUALUNIT_FAULT_STALL, 3);
    const uint32_t before = unit.transfers();
    EXPECT_EQ(usctl_send(&link.unit, &message), 1);
    EXPECT_EQ(unit.transfers() - before, 3U);
    EXPECT_NE(unit.with([](const virtualunit_t &state) { return state.setting_u8; }), 78);
    expect_that_it_works();
}

TEST_F(GuestFaults, BlockThatIsCutShortFails)
{
    for (const uint32_t length : {0U, 1U, 63U}) {
        SCOPED_TRACE(length);
        unit.strike(VIRTUALUNIT_FAULT_SHORT, 1, length);
        EXPECT_EQ(read_from(link.unit), 1);
        EXPECT_EQ(read_from(link.unit), 0);
    }
    expect_that_it_works();
}

TEST_F(GuestFaults, LateAnswerIsWorthARetryAfterHalfASecond)
{
    for (const auto &transfer : {write_to, read_from}) {
        unit.strike(VIRTUALUNIT_FAULT_LATE, 1);
        const std::chrono::milliseconds time = time_of([&] { EXPECT_EQ(transfer(link.unit), 2); });
        EXPECT_EQ(usplatform()->last_error(), USPLATFORM_ERROR_TRANSIENT);
        EXPECT_GE(time.count(), 400);
        EXPECT_LE(time.count(), 600); // 500, and what calling it off takes
    }
    // What was called off does not come in place of the next answer.
    expect_that_it_works();
}

TEST_F(GuestFaults, BrokenTransferFailsForGood)
{
    unit.strike(VIRTUALUNIT_FAULT_HARD, 2);
    EXPECT_EQ(write_to(link.unit), 1);
    EXPECT_EQ(usplatform()->last_error(), USPLATFORM_ERROR_IO);
    EXPECT_EQ(read_from(link.unit), 1);
    expect_that_it_works();
}

TEST_F(GuestFaults, MessageThatBrokeCountsAsSent)
{
    const usmsg_buf_t message = {const_cast<uint8_t *>(question), sizeof question, sizeof question};
    unit.strike(VIRTUALUNIT_FAULT_HARD, 1);
    const uint32_t before = unit.transfers();
    EXPECT_EQ(usctl_send(&link.unit, &message), 0);
    EXPECT_EQ(unit.transfers() - before, 1U);
}

TEST_F(GuestFaults, UnitThatIsPulledOutDuringATransferIsFoundAgainAtItsPath)
{
    for (const auto &transfer : {write_to, read_from}) {
        ASSERT_TRUE(link.find());
        const std::string path = link.path();
        const std::string node = unit.usb.node();
        unit.strike(VIRTUALUNIT_FAULT_UNPLUG, 1);
        EXPECT_EQ(transfer(link.unit), 1);
        const uint32_t error = usplatform()->last_error();
        EXPECT_TRUE(error == USPLATFORM_ERROR_NOT_CONNECTED || error == USPLATFORM_ERROR_IO) << error;
        EXPECT_FALSE(unit.usb.usb().is_plugged());
        unit.usb.wait_until_gone();
        EXPECT_EQ(transfer(link.unit), 1);
        EXPECT_EQ(usplatform()->last_error(), USPLATFORM_ERROR_NOT_FOUND);
        EXPECT_FALSE(link.find());

        unit.usb.plug();
        EXPECT_NE(unit.usb.node(), node); // the kernel's address is another one
        expect_that_it_works(); // the owner's pointer is as good as before
        ASSERT_TRUE(link.find());
        EXPECT_EQ(link.path(), path);
    }
}

TEST_F(GuestFaults, NothingIsLeftBehindByTransfers)
{
    expect_that_it_works(); // what a library makes at its first use stays
    const size_t files = entries_of("/proc/self/fd");
    const size_t threads = entries_of("/proc/self/task");
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(write_to(link.unit), 0);
        EXPECT_EQ(read_from(link.unit), 0);
    }
    unit.strike(VIRTUALUNIT_FAULT_STALL, 20);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(write_to(link.unit), 2);
        EXPECT_EQ(read_from(link.unit), 2);
    }
    EXPECT_EQ(entries_of("/proc/self/fd"), files);
    EXPECT_EQ(entries_of("/proc/self/task"), threads);
}
