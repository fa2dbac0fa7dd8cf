#include "driverscene.h"

#include "usctl.h"
#include "usmsg.h"

#include <cstring>
#include <string>

// Every command of the link through the driver. What a command has done is read from the unit, past the link.

namespace {

class DriverCommands : public DriverScene
{
protected:
    void TearDown() override
    {
        // Each transfer opens the device and closes it again; one more is open to ask.
        const unitcontrol_state_t end = state();
        EXPECT_EQ(end.opened, end.closed + 1);
        DriverScene::TearDown();
    }

    template <typename Number>
    void expect_number(int (*get)(usdev_t **, Number *), Number wanted)
    {
        Number value = 0;
        EXPECT_EQ(get(&unit, &value), 0);
        EXPECT_EQ(value, wanted);
    }

    void expect_text(int (*get)(usdev_t **, uint8_t *, uint8_t, uint8_t *), const std::string &wanted)
    {
        uint8_t text[60] = {};
        uint8_t length = 0;
        EXPECT_EQ(get(&unit, text, sizeof(text), &length), 0);
        EXPECT_EQ(std::string(text, text + length), wanted);
    }

    static virtualunit_strip_t strip(uint32_t ch, uint32_t ch_no)
    {
        unitcontrol_state_t now = state();
        return *virtualunit_strip(&now.unit, ch, ch_no);
    }
};

} // namespace

TEST_F(DriverCommands, IdentityIsRead)
{
    expect_number<uint16_t>(usctl_get_version, 291);
    expect_number<uint16_t>(usctl_get_build, 1110);
    expect_text(usctl_get_productname, "KD-MX2");
    expect_text(usctl_get_builddate, "Apr  1 2025");
    expect_text(usctl_get_buildtime, "12:34:56");
    expect_text(usctl_get_info, "VELMAR KD-MX Series");
}

TEST_F(DriverCommands, SettingsAreRead)
{
    expect_number<uint32_t>(usctl_get_hz, 48000);
    expect_number<uint8_t>(usctl_get_autopowersave, 1);
    uint32_t answer = 0;
    EXPECT_EQ(usctl_query_u32(&unit, 5, &answer), 0);
    EXPECT_EQ(answer, 1005U);
}

TEST_F(DriverCommands, SettingsAreSet)
{
    EXPECT_EQ(usctl_set_autopowersave(&unit, 0), 0);
    EXPECT_EQ(usctl_set_u8(&unit, 99), 0);
    EXPECT_EQ(usctl_set_u32(&unit, 0x12345678), 0);
    EXPECT_EQ(usctl_cmd_a2(&unit), 0);
    const virtualunit_t now = state().unit;
    EXPECT_EQ(now.autopowersave, 0);
    EXPECT_EQ(now.setting_u8, 99);
    EXPECT_EQ(now.setting_u32, 0x12345678U);
    EXPECT_EQ(now.commands_a2, 1U);
}

TEST_F(DriverCommands, ChannelsAreSetAndReadBack)
{
    EXPECT_EQ(usctl_set_fader(&unit, USMSG_DATA_CH_ANALOG_IN, 2, 55), 0);
    EXPECT_EQ(usctl_set_mute(&unit, USMSG_DATA_CH_ANALOG_IN, 2, 1), 0);
    EXPECT_EQ(usctl_set_stereo(&unit, USMSG_DATA_CH_ANALOG_IN, 2, USMSG_DATA_CH_TYPE_STEREO), 0);
    const virtualunit_strip_t set = strip(USMSG_DATA_CH_ANALOG_IN, 2);
    EXPECT_EQ(set.fader, 55);
    EXPECT_EQ(set.mute, 1);
    EXPECT_EQ(set.stereo, USMSG_DATA_CH_TYPE_STEREO);
    EXPECT_EQ(strip(USMSG_DATA_CH_ANALOG_IN, 1).fader, 141);

    uint8_t fader = 0;
    uint8_t mute = 0;
    uint32_t stereo = 0;
    EXPECT_EQ(usctl_get_fader(&unit, USMSG_DATA_CH_ANALOG_IN, 2, &fader), 0);
    EXPECT_EQ(usctl_get_mute(&unit, USMSG_DATA_CH_ANALOG_IN, 2, &mute), 0);
    EXPECT_EQ(usctl_get_stereo(&unit, USMSG_DATA_CH_ANALOG_IN, 2, &stereo), 0);
    EXPECT_EQ(fader, 55);
    EXPECT_EQ(mute, 1);
    EXPECT_EQ(stereo, USMSG_DATA_CH_TYPE_STEREO);
}

TEST_F(DriverCommands, RoutesAreSetAndRendered)
{
    EXPECT_EQ(usctl_set_route(&unit, USMSG_DATA_CH_COMPUTER_OUT, 3, USMSG_DATA_CH_LINE_OUT, 2), 0);
    const virtualunit_t now = state().unit;
    ASSERT_EQ(now.route_count, 5U);
    EXPECT_EQ(now.routes[4].source.ch, USMSG_DATA_CH_COMPUTER_OUT);
    EXPECT_EQ(now.routes[4].source.ch_no, 3);
    EXPECT_EQ(now.routes[4].destination.ch, USMSG_DATA_CH_LINE_OUT);
    EXPECT_EQ(now.routes[4].destination.ch_no, 2);

    char text[2000] = {};
    uint32_t length = 0;
    EXPECT_EQ(usctl_dump_routes(&unit, text, sizeof(text), &length), 0);
    EXPECT_EQ(std::string(text),
              "USMSG_DATA_CH_ANALOG_IN:1 -> USMSG_DATA_CH_COMPUTER_OUT:1\n"
              "USMSG_DATA_CH_ANALOG_IN:2 -> USMSG_DATA_CH_COMPUTER_OUT:2\n"
              "USMSG_DATA_CH_DIRECTMONITOR_OUT:1 -> USMSG_DATA_CH_MASTER_OUT:1\n"
              "USMSG_DATA_CH_MASTER_OUT:1 -> USMSG_DATA_CH_LINE_OUT:1\n"
              "USMSG_DATA_CH_COMPUTER_OUT:3 -> USMSG_DATA_CH_LINE_OUT:2\n");
    EXPECT_EQ(length, std::strlen(text));
}

TEST_F(DriverCommands, DebugTextAndBlocksAreRead)
{
    script("debug=boot ok");
    expect_text(usctl_get_debug, "boot ok");

    script("debug=again");
    uint8_t bytes[USMSG_MAX_SIZE] = {};
    usmsg_buf_t received = {bytes, sizeof(bytes), 7};
    EXPECT_EQ(usctl_recv(&unit, &received), 0);
    EXPECT_EQ(received.pos, 0);
    EXPECT_EQ(std::string(bytes + 6, bytes + 11), "again");
}

TEST_F(DriverCommands, MessagesOfEverySizeArrive)
{
    // A setting, padded with elements that no unit knows up to the largest message.
    for (uint8_t size = 3; size <= USMSG_MAX_SIZE; ++size) {
        uint8_t bytes[USMSG_MAX_SIZE] = {0x13, 2, size};
        for (uint8_t at = 3; at + 1 < size; at = static_cast<uint8_t>(at + 2)) {
            bytes[at] = 0x70;
            bytes[at + 1] = 1;
        }
        const usmsg_buf_t message = {bytes, sizeof(bytes), size};
        ASSERT_EQ(usctl_send(&unit, &message), 0) << int{size};
        ASSERT_EQ(state().unit.setting_u8, size);
    }
}

TEST_F(DriverCommands, ABusyUnitIsWaitedFor)
{
    script("busy=5");
    EXPECT_EQ(usctl_set_u8(&unit, 1), 0);
    EXPECT_EQ(usctl_wait_ready(&unit), 0);
    // Ready at once, the message, five busy blocks and a ready one.
    EXPECT_EQ(state().unit.transfers, 8U);
}

TEST_F(DriverCommands, AFirmwareImageArrivesWhole)
{
    script("allowance=500");
    std::string image(20'000, '\0');
    for (size_t at = 0; at < image.size(); ++at)
        image[at] = static_cast<char>(at * at >> 4);
    uint32_t progress = 0;
    const std::string lines = lines_of([&] {
        EXPECT_EQ(usctl_fw_update(&unit, reinterpret_cast<const uint8_t *>(image.data()),
                                  static_cast<uint32_t>(image.size()), &progress),
                  0);
    });
    EXPECT_TRUE(lines.starts_with("pos = 0/20000\npos = 500/20000\n")) << lines;
    EXPECT_TRUE(lines.ends_with("pos = 20000/20000\nFWUP OK\n")) << lines;
    EXPECT_EQ(progress, 20'000U);
    const virtualunit_firmware_t firmware = state().unit.firmware;
    EXPECT_EQ(firmware.size, 20'000U);
    EXPECT_EQ(firmware.received, 20'000U);
    EXPECT_EQ(firmware.misfits, 0U);
    // Eight blocks of 61 bytes and one of 12 for each allowance.
    EXPECT_EQ(firmware.blocks, 40U * 9);

    // The checksum of the same bytes, bit by bit.
    uint32_t checksum = 0xFFFFFFFF;
    for (const char byte : image) {
        checksum ^= static_cast<uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit)
            checksum = (checksum & 1) != 0 ? checksum >> 1 ^ 0xEDB88320 : checksum >> 1;
    }
    EXPECT_EQ(firmware.checksum, ~checksum);
}

TEST_F(DriverCommands, AnImageForAUnitThatIsPulledOutFails)
{
    // While it is asked where to go on after the first 500 bytes.
    script("allowance=500,unplug*ever@25");
    const std::string image(3000, 'k');
    uint32_t progress = 0;
    lines_of([&] {
        EXPECT_EQ(usctl_fw_update(&unit, reinterpret_cast<const uint8_t *>(image.data()), 3000, &progress), 1);
    });
    EXPECT_EQ(progress, 500U);
    EXPECT_EQ(state().unit.firmware.received, 0U);
}
