#include "usctl.h"

#include "printed.h"
#include "unitlink.h"
#include "uswatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

// The firmware transfer against the virtual unit, which checks each block and keeps a checksum.

namespace {

using Bytes = std::vector<uint8_t>;

const std::string line = "../../ustest/usctl.cpp:#:ERROR\n";

Bytes image_of(size_t size)
{
    Bytes image(size);
    uint32_t state = 1;
    for (uint8_t &byte : image) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return image;
}

/// CRC-32 bit by bit, in the simplest way there is.
uint32_t checksum_of(const Bytes &bytes)
{
    uint32_t checksum = 0xFFFFFFFF;
    for (const uint8_t byte : bytes) {
        checksum ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            checksum = (checksum & 1) != 0 ? checksum >> 1 ^ 0xEDB88320 : checksum >> 1;
    }
    return ~checksum;
}

/// Data blocks that an image needs: each allowance is used up by itself.
uint32_t blocks_of(uint32_t size, uint32_t allowance)
{
    const auto pieces = [](uint32_t bytes) { return (bytes + 60) / 61; };
    return size / allowance * pieces(allowance) + pieces(size % allowance);
}

class Transfer : public UnitLink
{
public:
    explicit Transfer(uint32_t allowance) { model.firmware.allowance = allowance; }

    int update(const Bytes &image)
    {
        return usctl_fw_update(&unit, image.data(), static_cast<uint32_t>(image.size()), &progress);
    }

    uint32_t progress = 0xFFFFFFFF;
};

void expect_whole(const Transfer &transfer, const Bytes &image)
{
    const virtualunit_firmware_t &firmware = transfer.model.firmware;
    ASSERT_EQ(firmware.size, image.size());
    ASSERT_EQ(firmware.received, image.size());
    ASSERT_EQ(firmware.misfits, 0U);
    ASSERT_EQ(firmware.blocks, blocks_of(firmware.size, firmware.allowance));
    ASSERT_EQ(firmware.checksum, checksum_of(image));
    ASSERT_EQ(transfer.progress, image.size());
}

/// The part of an exchange that a transfer belongs to.
enum class Step { Ready, Begin, StatusRequest, Status, Data, LastData, CompletionRequest, Completion };

/// Sees the exchange that goes well, transfer by transfer.
class StepWatch
{
public:
    explicit StepWatch(uint32_t size)
        : m_size(size)
    {
        EXPECT_EQ(uswatch_add(&m_watch), 0);
    }

    ~StepWatch() { uswatch_remove(&m_watch); }
    StepWatch(const StepWatch &) = delete;
    StepWatch &operator=(const StepWatch &) = delete;

    std::vector<Step> steps;

private:
    static void moved(void *context, const uswatch_transfer_t *transfer)
    {
        static_cast<StepWatch *>(context)->take(*transfer);
    }

    void take(const uswatch_transfer_t &transfer)
    {
        if (transfer.kind == uswatch_transfer_t::READ) {
            // After a request comes its answer, after anything else the wait for ready.
            const Step before = steps.empty() ? Step::Ready : steps.back();
            steps.push_back(before == Step::StatusRequest           ? Step::Status
                                : before == Step::CompletionRequest ? Step::Completion
                                                                    : Step::Ready);
            return;
        }
        switch (transfer.data[0]) {
        case USMSG_ID_FW_BEGIN:
            steps.push_back(Step::Begin);
            break;
        case USMSG_ID_FW_STATUS:
            steps.push_back(m_sent == m_size ? Step::CompletionRequest : Step::StatusRequest);
            break;
        default:
            m_sent += transfer.data[2];
            steps.push_back(m_sent == m_size ? Step::LastData : Step::Data);
        }
    }

    uint32_t m_size;
    uint32_t m_sent = 0;
    uswatch_t m_watch = {this, moved, nullptr};
};

/// What must come of a transfer with one fault that strikes once, by the rules of the exchange.
int result_of_one_fault(const std::vector<Step> &steps, uint32_t first, uint32_t kind)
{
    const auto strikes = steps.begin() + first;
    const bool has_begun = std::find(steps.begin(), strikes, Step::Begin) != strikes;
    const bool has_more_to_get = std::find(strikes, steps.end(), Step::LastData) != steps.end();
    // A unit without power forgets an image that is not whole.
    if (kind == VIRTUALUNIT_FAULT_UNPLUG && has_begun && has_more_to_get)
        return 1;
    const bool loses_message = write_effect(kind) == WriteEffect::Lost;
    const ReadEffect on_read = read_effect(kind);
    switch (*strikes) {
    case Step::Ready:
        // A block that cannot be read or says busy is polled again; any other counts as ready.
        return 0;
    case Step::Begin:
        // To a unit that has heard of no image, an empty one is whole.
        return loses_message && has_more_to_get ? 1 : 0;
    case Step::StatusRequest:
    case Step::Data:
    case Step::LastData:
        // What counts as sent but did not arrive is never sent again.
        return loses_message ? 1 : 0;
    case Step::Status:
        // The answer comes once: it is not asked for again before it is there.
        return on_read == ReadEffect::Fails || on_read == ReadEffect::Lost ? 1 : 0;
    case Step::CompletionRequest:
        // There are nineteen more.
        return 0;
    case Step::Completion:
        return on_read == ReadEffect::Fails ? 1 : 0;
    }
    return -1;
}

void sweep(const Bytes &image, uint32_t allowance)
{
    std::vector<Step> steps;
    {
        Transfer healthy(allowance);
        StepWatch watch(static_cast<uint32_t>(image.size()));
        testing::internal::CaptureStdout();
        const int result = healthy.update(image);
        testing::internal::GetCapturedStdout();
        ASSERT_EQ(result, 0);
        steps = watch.steps;
    }
    for (const FaultKind &kind : fault_kinds) {
        for (uint32_t first = 0; first < steps.size(); ++first) {
            for (const uint32_t count : {1U, VIRTUALUNIT_FOREVER}) {
                Transfer transfer(allowance);
                transfer.add_fault(kind.kind, first, count, 20);
                testing::internal::CaptureStdout();
                const int result = transfer.update(image);
                testing::internal::GetCapturedStdout();
                // The confirmation is the last block of all: no fault that lasts lets it through.
                const int expected = count == 1 ? result_of_one_fault(steps, first, kind.kind) : 1;
                EXPECT_EQ(result, expected)
                    << kind.name << (count == 1 ? " once" : " for ever") << " from transfer " << first;
                if (result == 0)
                    expect_whole(transfer, image);
            }
        }
    }
}

} // namespace

TEST(UsctlFirmwareUnit, EverySizeOverEveryAllowanceArrivesWhole)
{
    for (const size_t size : {0, 1, 10, 59, 60, 61, 62, 100, 121, 122, 123, 1000, 4095, 4096}) {
        const Bytes image = image_of(size);
        for (uint32_t allowance = 1; allowance <= 200; ++allowance) {
            Transfer transfer(allowance);
            testing::internal::CaptureStdout();
            const int result = transfer.update(image);
            testing::internal::GetCapturedStdout();
            ASSERT_EQ(result, 0) << size << " over " << allowance;
            ASSERT_NO_FATAL_FAILURE(expect_whole(transfer, image)) << size << " over " << allowance;
        }
    }
}

TEST(UsctlFirmwareUnit, LargeImagesArriveWhole)
{
    const Bytes image = image_of(4 * 1024 * 1024);
    for (const uint32_t allowance : {61U, 4096U, 65536U}) {
        Transfer transfer(allowance);
        testing::internal::CaptureStdout();
        const int result = transfer.update(image);
        testing::internal::GetCapturedStdout();
        ASSERT_EQ(result, 0) << allowance;
        ASSERT_NO_FATAL_FAILURE(expect_whole(transfer, image)) << allowance;
    }
}

TEST(UsctlFirmwareUnit, EveryFaultAtEveryTransfer)
{
    sweep(image_of(0), 100);
    sweep(image_of(10), 4096);
    sweep(image_of(150), 100);
}

TEST(UsctlFirmwareUnit, ABusyUnitTakesItsTimeAndGetsTheImage)
{
    Transfer transfer(100);
    transfer.model.busy_reads_after_write = 3;
    const Bytes image = image_of(500);
    EXPECT_EQ(printed([&] { EXPECT_EQ(transfer.update(image), 0); }),
              "pos = 0/500\npos = 100/500\npos = 200/500\npos = 300/500\npos = 400/500\npos = 500/500\nFWUP OK\n");
    expect_whole(transfer, image);
}

TEST(UsctlFirmwareUnit, TheConsoleShowsPlacesAndTheUnitsText)
{
    Transfer transfer(100);
    virtualunit_say(&transfer.model, "erasing\0!", 9);
    // The text waits for the status block, which is read in transfer 4.
    transfer.add_fault(VIRTUALUNIT_FAULT_MUTE, 0, 4);
    const Bytes image = image_of(250);
    EXPECT_EQ(printed([&] { EXPECT_EQ(transfer.update(image), 0); }),
              "pos = 0/250\n\n\n--debug--\nerasing" + std::string(1, '\0')
                  + "!\n---------\npos = 100/250\npos = 200/250\npos = 250/250\nFWUP OK\n");
    expect_whole(transfer, image);
    EXPECT_EQ(virtualplatform::pauses(), 0U);
}

TEST(UsctlFirmwareUnit, TheConsoleShowsWhatFails)
{
    Transfer transfer(100);
    transfer.add_fault(VIRTUALUNIT_FAULT_HARD, 4, 1);
    EXPECT_EQ(printed([&] { EXPECT_EQ(transfer.update(image_of(10)), 1); }),
              "pos = 0/10\n../../ustest/usbdevs_win.cpp:#:ERROR\nGetLastError() = 0x45d\nThe transfer failed.\n" + line
                  + line);
    EXPECT_EQ(transfer.progress, 0xFFFFFFFF);
}

TEST(UsctlFirmwareUnit, AUnitThatNeverGrantsAnythingIsGivenUp)
{
    Transfer transfer(0);
    const std::string text = printed([&] { EXPECT_EQ(transfer.update(image_of(10)), 1); });
    EXPECT_TRUE(text.ends_with("pos = 0/10\n" + line + "timeout line:255\n"));
    EXPECT_EQ(virtualplatform::pauses(), 1000U);
    EXPECT_EQ(transfer.model.firmware.blocks, 0U);
}

TEST(UsctlFirmwareUnit, AUnitThatLiesAboutItsOffsetGetsNoData)
{
    Transfer transfer(100);
    transfer.model.firmware.lied_offset = 7;
    const std::string text = printed([&] { EXPECT_EQ(transfer.update(image_of(10)), 1); });
    EXPECT_TRUE(text.ends_with("pos = 0/10\noffset = 7, pos = 0\n" + line + "timeout line:257\n"));
    EXPECT_EQ(virtualplatform::pauses(), 1000U);
    EXPECT_EQ(transfer.model.firmware.blocks, 0U);
}

TEST(UsctlFirmwareUnit, AnOffsetThatCannotBeIsNoAnswer)
{
    Transfer transfer(100);
    transfer.model.firmware.lied_offset = 0xFFFFFFFF;
    EXPECT_EQ(printed([&] { EXPECT_EQ(transfer.update(image_of(10)), 1); }), "pos = 0/10\n" + line);
    EXPECT_EQ(virtualplatform::pauses(), 9999U);
}

TEST(UsctlFirmwareUnit, ARoomThatCannotBeIsNoAnswer)
{
    Transfer transfer(100);
    transfer.model.firmware.lied_room = 0xFFFFFFFF - 100;
    EXPECT_EQ(printed([&] { EXPECT_EQ(transfer.update(image_of(10)), 1); }), "pos = 0/10\n" + line);
    EXPECT_EQ(virtualplatform::pauses(), 9999U);
}

TEST(UsctlFirmwareUnit, AUnitThatTellsMoreRoomThanItHasMissesABlock)
{
    Transfer transfer(100);
    transfer.model.firmware.lied_room = 61;
    const std::string text = printed([&] { EXPECT_EQ(transfer.update(image_of(400)), 1); });
    // It has taken what fitted, and the host notices that it is not what was sent.
    EXPECT_TRUE(text.starts_with("pos = 0/400\npos = 161/400\noffset = 100, pos = 161\n"));
    EXPECT_TRUE(text.ends_with("timeout line:257\n"));
    EXPECT_EQ(transfer.model.firmware.blocks, 3U);
    EXPECT_EQ(transfer.model.firmware.misfits, 1U);
    EXPECT_EQ(transfer.progress, 161U);
}

TEST(UsctlFirmwareUnit, AUnitThatTellsLessRoomThanItHasMissesTheBlock)
{
    Transfer transfer(100);
    transfer.model.firmware.lied_room = 0U - 50;
    const std::string text = printed([&] { EXPECT_EQ(transfer.update(image_of(400)), 1); });
    EXPECT_TRUE(text.starts_with("pos = 0/400\npos = 50/400\noffset = 0, pos = 50\n"));
    EXPECT_EQ(transfer.model.firmware.blocks, 1U);
    EXPECT_EQ(transfer.model.firmware.misfits, 1U);
    EXPECT_EQ(transfer.model.firmware.received, 0U);
}

TEST(UsctlFirmwareUnit, RoomThatIsLeftIsNoConfirmation)
{
    Transfer transfer(100);
    transfer.model.firmware.lied_room = 5;
    EXPECT_EQ(printed([&] { EXPECT_EQ(transfer.update(image_of(10)), 1); }), "pos = 0/10\npos = 10/10\n" + line);
    // All was received; only the word of it is missing, twenty times.
    EXPECT_EQ(transfer.model.firmware.received, 10U);
    EXPECT_EQ(virtualplatform::slept_ms(), 20U * (9 * 100 + 1000));
}

TEST(UsctlFirmwareUnit, ALieThatIsTakenBackDoesNoHarm)
{
    Transfer transfer(100);
    // After so many transfers the offset is wrong, and after further ones right again.
    struct Lie
    {
        virtualunit_firmware_t *firmware;
        uint32_t moved;
    } lie = {&transfer.model.firmware, 0};
    const auto count = [](void *context, const uswatch_transfer_t *) {
        auto *const told = static_cast<Lie *>(context);
        ++told->moved;
        // The first status and its two blocks take nine transfers; then come three for each status.
        told->firmware->lied_offset = told->moved >= 9 && told->moved < 15 ? 1 : 0;
    };
    const uswatch_t watch = {&lie, count, nullptr};
    ASSERT_EQ(uswatch_add(&watch), 0);
    const Bytes image = image_of(150);
    const std::string text = printed([&] { EXPECT_EQ(transfer.update(image), 0); });
    uswatch_remove(&watch);
    EXPECT_EQ(text,
              "pos = 0/150\npos = 100/150\noffset = 101, pos = 100\npos = 100/150\noffset = 101, pos = 100\n"
              "pos = 100/150\npos = 150/150\nFWUP OK\n");
    expect_whole(transfer, image);
}

TEST(UsctlFirmwareUnit, AUnitThatIsPulledOutInMidTransferIsNotResumed)
{
    Transfer transfer(61);
    const Bytes image = image_of(1000);
    // In the middle of the blocks, and back soon.
    transfer.add_fault(VIRTUALUNIT_FAULT_UNPLUG, 40, 20);
    testing::internal::CaptureStdout();
    EXPECT_EQ(transfer.update(image), 1);
    EXPECT_EQ(transfer.model.firmware.received, 0U);
    // The next attempt begins anew.
    EXPECT_EQ(transfer.update(image), 0);
    testing::internal::GetCapturedStdout();
    expect_whole(transfer, image);
}
