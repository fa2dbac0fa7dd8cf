#include "usctl.h"

#include "printed.h"
#include "scriptedplatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <numeric>
#include <string>

namespace {

using Bytes = std::vector<uint8_t>;

const std::string line = "../../ustest/usctl.cpp:#:ERROR\n";

void append_u32(Bytes *bytes, uint8_t id, uint32_t value)
{
    bytes->insert(bytes->end(), {id, USMSG_DATA_TYPE_U32});
    for (int shift = 0; shift < 32; shift += 8)
        bytes->push_back(static_cast<uint8_t>(value >> shift));
}

uint32_t u32_at(const Bytes &bytes, size_t offset)
{
    uint32_t value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

/**
 * The unit's side of a firmware transfer, as strict as a unit may be: it takes data only where it granted room, and
 * confirms when it has everything.
 */
class FirmwareUnit
{
public:
    explicit FirmwareUnit(uint32_t allowance)
        : m_allowance(allowance)
    {
        platform.otherwise = [this](const ScriptedPlatform::Request &request) { return serve(request); };
    }

    int update(const Bytes &image) { return usctl_fw_update(&unit, image.data(), size_of(image), &progress); }

    static uint32_t size_of(const Bytes &image) { return static_cast<uint32_t>(image.size()); }

    ScriptedPlatform platform;
    usdev_t device = {};
    usdev_t *unit = &device;
    uint32_t progress = 0xFFFFFFFF;

    Bytes received;
    std::vector<Bytes> messages;
    bool broke_the_rules = false;

    /// Changes a status answer before it goes out.
    std::function<void(uint32_t *room, uint32_t *offset)> lie;

    /// Bytes of further elements in a status block.
    Bytes chatter;

    /// Whether status requests are left without an answer.
    bool silent = false;

private:
    ScriptedPlatform::Answer serve(const ScriptedPlatform::Request &request)
    {
        const Bytes &in = request.in;
        if (in.at(15) == USDEV_REQ_READ)
            return read();
        write(Bytes(in.begin() + 16, in.begin() + 16 + in.at(4)));
        return {};
    }

    ScriptedPlatform::Answer read()
    {
        Bytes block;
        if (m_status_asked && !silent) {
            m_status_asked = false;
            block = status();
        }
        block.resize(64);
        return {.bytes = block, .error = 0};
    }

    Bytes status()
    {
        uint32_t offset = size_of(received);
        uint32_t room = std::min(m_allowance, m_total - offset);
        m_granted = room;
        if (lie)
            lie(&room, &offset);
        Bytes block = chatter;
        append_u32(&block, USMSG_ID_FW_ROOM, room);
        append_u32(&block, USMSG_ID_FW_OFFSET, offset);
        return block;
    }

    void write(const Bytes &message)
    {
        messages.push_back(message);
        switch (message.at(0)) {
        case USMSG_ID_FW_BEGIN:
            m_total = u32_at(message, 2);
            break;
        case USMSG_ID_FW_STATUS:
            m_status_asked = true;
            break;
        default:
            take(message);
        }
    }

    void take(const Bytes &message)
    {
        const uint8_t length = message.at(2);
        const bool is_last = message.at(0) == USMSG_ID_FW_DATA_LAST;
        const bool ends_allowance = length == m_granted;
        broke_the_rules =
            broke_the_rules || length > m_granted || is_last != ends_allowance || (!is_last && length != 61);
        m_granted -= std::min<uint32_t>(length, m_granted);
        received.insert(received.end(), message.begin() + 3, message.begin() + 3 + length);
    }

    uint32_t m_allowance;
    uint32_t m_total = 0;
    uint32_t m_granted = 0;
    bool m_status_asked = false;
};

Bytes image_of(size_t size)
{
    Bytes image(size);
    uint32_t state = 12345;
    std::generate(image.begin(), image.end(), [&] {
        state = state * 1103515245 + 12345;
        return static_cast<uint8_t>(state >> 16);
    });
    return image;
}

std::vector<Bytes> data_messages(const FirmwareUnit &unit)
{
    std::vector<Bytes> result;
    std::copy_if(unit.messages.begin(), unit.messages.end(), std::back_inserter(result),
                 [](const Bytes &message) { return message[0] == 0x25 || message[0] == 0x26; });
    return result;
}

} // namespace

TEST(UsctlFirmware, EverySizeOverEveryAllowanceArrivesWhole)
{
    testing::internal::CaptureStdout();
    for (const size_t size : {0, 1, 10, 59, 60, 61, 62, 100, 121, 122, 123, 500, 4096}) {
        const Bytes image = image_of(size);
        for (uint32_t allowance = 1; allowance <= 200; ++allowance) {
            FirmwareUnit unit(allowance);
            ASSERT_EQ(unit.update(image), 0) << size << " over " << allowance;
            ASSERT_EQ(unit.received, image) << size << " over " << allowance;
            ASSERT_FALSE(unit.broke_the_rules) << size << " over " << allowance;
            ASSERT_EQ(unit.progress, size);
        }
    }
    testing::internal::GetCapturedStdout();
}

TEST(UsctlFirmware, EmptyImageOnlyBeginsAndIsConfirmed)
{
    FirmwareUnit unit(100);
    EXPECT_EQ(printed([&] { EXPECT_EQ(unit.update({}), 0); }), "pos = 0/0\nFWUP OK\n");
    EXPECT_EQ(unit.messages, std::vector<Bytes>({{0x21, 4, 0, 0, 0, 0, 0, 0}, {0x22, 1, 0, 0}}));
    EXPECT_EQ(unit.progress, 0U);
}

TEST(UsctlFirmware, AllowanceOfAHundredIsTwoBlocks)
{
    FirmwareUnit unit(100);
    const Bytes image = image_of(150);
    EXPECT_EQ(printed([&] { EXPECT_EQ(unit.update(image), 0); }),
              "pos = 0/150\npos = 100/150\npos = 150/150\nFWUP OK\n");
    const std::vector<Bytes> data = data_messages(unit);
    ASSERT_EQ(data.size(), 3U);
    EXPECT_EQ(data[0].size(), 64U); // full: its end element is left out
    EXPECT_EQ(data[0][0], 0x25);
    EXPECT_EQ(data[0][2], 61);
    EXPECT_EQ(data[1][0], 0x26);
    EXPECT_EQ(data[1][2], 39);
    EXPECT_EQ(data[1].size(), 3U + 39U + 2U);
    EXPECT_EQ(data[2][0], 0x26);
}

TEST(UsctlFirmware, SixtyAndSixtyOneBytesLoseTheirEndElement)
{
    for (const uint8_t length : {uint8_t{60}, uint8_t{61}}) {
        FirmwareUnit unit(length);
        testing::internal::CaptureStdout();
        EXPECT_EQ(unit.update(image_of(length)), 0);
        testing::internal::GetCapturedStdout();
        const std::vector<Bytes> data = data_messages(unit);
        ASSERT_EQ(data.size(), 1U);
        EXPECT_EQ(data[0][0], 0x26);
        EXPECT_EQ(data[0].size(), 3U + length);
    }
}

TEST(UsctlFirmware, SmallImageInALargeAllowanceIsOneBlock)
{
    FirmwareUnit unit(4096);
    testing::internal::CaptureStdout();
    EXPECT_EQ(unit.update(image_of(10)), 0);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(data_messages(unit).size(), 1U);
    EXPECT_EQ(data_messages(unit)[0][0], 0x26);
    EXPECT_EQ(data_messages(unit)[0][2], 10);
}

TEST(UsctlFirmware, WrongOffsetIsPrintedAndAskedAgain)
{
    FirmwareUnit unit(61);
    int lies = 0;
    unit.lie = [&](uint32_t *, uint32_t *offset) {
        if (*offset == 61 && lies++ == 0)
            *offset = 0;
    };
    EXPECT_EQ(printed([&] { EXPECT_EQ(unit.update(image_of(100)), 0); }),
              "pos = 0/100\npos = 61/100\noffset = 0, pos = 61\npos = 61/100\npos = 100/100\nFWUP OK\n");
    EXPECT_EQ(unit.received, image_of(100));
}

TEST(UsctlFirmware, WrongOffsetForEverTimesOut)
{
    FirmwareUnit unit(61);
    unit.lie = [](uint32_t *, uint32_t *offset) { *offset = 7; };
    const std::string text = printed([&] { EXPECT_EQ(unit.update(image_of(100)), 1); });
    EXPECT_TRUE(text.ends_with("offset = 7, pos = 0\n" + line + "timeout line:257\n"));
    EXPECT_EQ(std::count(unit.platform.sleeps.begin(), unit.platform.sleeps.end(), 10U), 1000);
    EXPECT_EQ(unit.messages.size(), 1U + 1001U);
    EXPECT_TRUE(data_messages(unit).empty());
}

TEST(UsctlFirmware, NoAllowanceForEverTimesOut)
{
    FirmwareUnit unit(61);
    unit.lie = [](uint32_t *room, uint32_t *) { *room = 0; };
    const std::string text = printed([&] { EXPECT_EQ(unit.update(image_of(100)), 1); });
    EXPECT_TRUE(text.ends_with("pos = 0/100\n" + line + "timeout line:255\n"));
    EXPECT_EQ(text.find("offset ="), std::string::npos);
}

TEST(UsctlFirmware, UsableAnswerStartsTheCountAgain)
{
    FirmwareUnit unit(1);
    int answers = 0;
    unit.lie = [&](uint32_t *room, uint32_t *) {
        if (++answers % 1001 != 0)
            *room = 0;
    };
    testing::internal::CaptureStdout();
    const Bytes image = image_of(3);
    EXPECT_EQ(usctl_fw_update(&unit.unit, image.data(), 3, nullptr), 0);
    testing::internal::GetCapturedStdout();
    // A thousand refusals before each byte are borne.
    EXPECT_EQ(unit.received, image);
    EXPECT_EQ(answers, 3 * 1001 + 1);
}

TEST(UsctlFirmware, SilentUnitTimesOutAfterTenThousandBlocks)
{
    FirmwareUnit unit(61);
    unit.silent = true;
    EXPECT_EQ(printed([&] { EXPECT_EQ(unit.update(image_of(1)), 1); }), "pos = 0/1\n" + line);
    EXPECT_EQ(unit.platform.sleeps, std::vector<uint32_t>(9999, 10));
}

TEST(UsctlFirmware, UnitThatNeverConfirmsTimesOutAfterTwentyRequests)
{
    FirmwareUnit unit(61);
    bool complete = false;
    unit.lie = [&](uint32_t *room, uint32_t *offset) {
        complete = complete || *offset == 10;
        if (complete) {
            *room = 0;
            *offset = 9;
        }
    };
    const std::string text = printed([&] { EXPECT_EQ(unit.update(image_of(10)), 1); });
    EXPECT_EQ(text, "pos = 0/10\npos = 10/10\n" + line);
    const auto &sleeps = unit.platform.sleeps;
    EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), 1000U), 20);
    EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), 100U), 20 * 9);
}

TEST(UsctlFirmware, DebugTextsAreShownWholeDuringTheTransferOnly)
{
    FirmwareUnit unit(61);
    unit.chatter = {USMSG_ID_DEBUG, 5, 3, 'a', 0, 'b'};
    EXPECT_EQ(printed([&] { EXPECT_EQ(unit.update(image_of(1)), 0); }),
              "pos = 0/1\n\n\n--debug--\na" + std::string(1, 0) + "b\n---------\npos = 1/1\nFWUP OK\n");
}

TEST(UsctlFirmware, IdentifierZeroEndsAStatusBlock)
{
    FirmwareUnit unit(61);
    int answers = 0;
    unit.lie = [&](uint32_t *, uint32_t *) { unit.chatter = answers++ == 0 ? Bytes() : Bytes{0, 1}; };
    // The first status is whole; those of the completion end before their values.
    testing::internal::CaptureStdout();
    EXPECT_EQ(unit.update(image_of(1)), 1);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(unit.received.size(), 1U);
}

TEST(UsctlFirmware, FailedReadEndsTheTransfer)
{
    FirmwareUnit unit(61);
    const auto serve = unit.platform.otherwise;
    int reads = 0;
    unit.platform.otherwise = [&](const ScriptedPlatform::Request &request) {
        // The third read is the first of the status.
        if (request.in.at(15) == USDEV_REQ_READ && ++reads == 3)
            return ScriptedPlatform::Answer{.bytes = {}, .error = 31};
        return serve(request);
    };
    const std::string text = printed([&] { EXPECT_EQ(unit.update(image_of(10)), 1); });
    EXPECT_TRUE(text.ends_with(line + line));
    EXPECT_EQ(unit.progress, 0xFFFFFFFF);
}
