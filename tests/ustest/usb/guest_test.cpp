// The link in a real system: found, asked, set, and given firmware, through the kernel's own USB.

#include "guestdevice.h"
#include "guestlink.h"

#include "usctl.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

using virtualusb::foreign_description;
using virtualusb::Function;

namespace {

std::string interface_path(const GuestDevice &device)
{
    return "usb:" + device.name() + "\\global";
}

/// A text that a query of usctl fills.
std::string text_from(int (*query)(usdev_t **, uint8_t *, uint8_t, uint8_t *), usdev_t **unit)
{
    uint8_t text[64];
    uint8_t length = 0;
    EXPECT_EQ(query(unit, text, sizeof text, &length), 0);
    return {reinterpret_cast<const char *>(text), length};
}

/// CRC-32 as the unit computes it, bit by bit.
uint32_t checksum_of(const std::vector<uint8_t> &bytes)
{
    uint32_t sum = 0xFFFFFFFF;
    for (const uint8_t byte : bytes) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xEDB88320 : 0);
    }
    return ~sum;
}

std::vector<uint8_t> image_of(uint32_t size)
{
    std::vector<uint8_t> bytes(size);
    uint32_t state = 1;
    for (uint8_t &byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24U);
    }
    return bytes;
}

} // namespace

TEST(GuestDiscovery, FindsNoUnitWhereThereAreOnlyOthers)
{
    GuestDevice sound(foreign_description(Function::Audio, "Sonora", "KD-MX2"), nullptr, 0);
    GuestDevice gadget(foreign_description(Function::Vendor, "VELMAR", "KD-MX2"), nullptr, 1);
    sound.plug();
    gadget.plug();
    ASSERT_EQ(sound.drivers(), std::vector<std::string>(3, "snd-usb-audio"));
    EXPECT_FALSE(GuestLink().find());
}

TEST(GuestDiscovery, FindsTheUnitByNameAmongOthers)
{
    GuestDevice first(foreign_description(Function::Audio, "Sonora", "Stage 4"), nullptr, 0);
    GuestDevice last(foreign_description(Function::Audio, "VELMAR", "Speaker"), nullptr, 3);
    GuestDevice gadget(foreign_description(Function::Vendor, "VELMAR", "KD-MX2"), nullptr, 4);
    first.plug();
    last.plug();
    gadget.plug();
    GuestUnit unit(2);
    GuestLink link;
    EXPECT_EQ(link.path(), interface_path(unit.usb));
    EXPECT_EQ(text_from(usctl_get_productname, &link.unit), "KD-MX2");
}

TEST(GuestDiscovery, OfTwoUnitsTakesTheOneAtTheLastPort)
{
    GuestUnit last(4, "KD-MX4"); // plugged in first, so the order of plugging decides nothing
    GuestUnit first(1, "KD-MX2");
    GuestLink link;
    EXPECT_EQ(link.path(), interface_path(last.usb));
    EXPECT_EQ(text_from(usctl_get_productname, &link.unit), "KD-MX4");
    EXPECT_EQ(first.transfers(), 0U);
    last.usb.unplug();
    ASSERT_TRUE(link.find());
    EXPECT_EQ(link.path(), interface_path(first.usb));
    EXPECT_EQ(text_from(usctl_get_productname, &link.unit), "KD-MX2");
}

TEST(GuestCommands, TellTheIdentity)
{
    GuestUnit unit(0);
    GuestLink link;
    const virtualunit_t model = unit.with([](const virtualunit_t &state) { return state; });
    uint16_t number = 0;
    EXPECT_EQ(usctl_get_version(&link.unit, &number), 0);
    EXPECT_EQ(number, model.version);
    EXPECT_EQ(usctl_get_build(&link.unit, &number), 0);
    EXPECT_EQ(number, model.build);
    EXPECT_EQ(text_from(usctl_get_productname, &link.unit), model.product);
    EXPECT_EQ(text_from(usctl_get_builddate, &link.unit), model.build_date);
    EXPECT_EQ(text_from(usctl_get_buildtime, &link.unit), model.build_time);
    EXPECT_EQ(text_from(usctl_get_info, &link.unit), model.info);
    uint32_t hz = 0;
    EXPECT_EQ(usctl_get_hz(&link.unit, &hz), 0);
    EXPECT_EQ(hz, unit.with([](const virtualunit_t &state) { return state.hz; }));
    EXPECT_GE(hz, 44100U);
}

TEST(GuestCommands, SetAndReadBackWhatBelongsToTheUnit)
{
    GuestUnit unit(0);
    GuestLink link;
    for (const uint8_t wanted : {uint8_t(1), uint8_t(0)}) {
        uint8_t setting = 7;
        EXPECT_EQ(usctl_set_autopowersave(&link.unit, wanted), 0);
        EXPECT_EQ(usctl_get_autopowersave(&link.unit, &setting), 0);
        EXPECT_EQ(setting, wanted);
    }
    EXPECT_EQ(usctl_set_u8(&link.unit, 0xA5), 0);
    EXPECT_EQ(usctl_set_u32(&link.unit, 0x01020304), 0);
    EXPECT_EQ(usctl_cmd_a2(&link.unit), 0);
    uint32_t answer = 0;
    EXPECT_EQ(usctl_query_u32(&link.unit, 0x10203040, &answer), 0);
    EXPECT_EQ(answer, 0x11223344U);
    unit.with([](const virtualunit_t &state) {
        EXPECT_EQ(state.setting_u8, 0xA5);
        EXPECT_EQ(state.setting_u32, 0x01020304U);
        EXPECT_EQ(state.commands_a2, 1U);
    });
}

TEST(GuestCommands, SetAndReadBackEveryChannel)
{
    GuestUnit unit(0);
    GuestLink link;
    uint8_t value = 1;
    uint32_t channels = 0;
    for (uint32_t ch = USMSG_DATA_CH_LINE_OUT; ch <= USMSG_DATA_CH_DIRECTMONITOR_OUT; ++ch) {
        for (uint32_t ch_no = 1; ch_no <= virtualunit_channel_numbers(ch); ++ch_no, ++channels, value += 3) {
            SCOPED_TRACE(std::to_string(ch) + "/" + std::to_string(ch_no));
            uint8_t level = 0;
            uint8_t mute = 0;
            uint32_t stereo = 0;
            EXPECT_EQ(usctl_set_fader(&link.unit, ch, ch_no, value), 0);
            EXPECT_EQ(usctl_set_mute(&link.unit, ch, ch_no, ch_no % 2), 0);
            EXPECT_EQ(usctl_set_stereo(&link.unit, ch, ch_no, USMSG_DATA_CH_TYPE_STEREO), 0);
            EXPECT_EQ(usctl_get_fader(&link.unit, ch, ch_no, &level), 0);
            EXPECT_EQ(usctl_get_mute(&link.unit, ch, ch_no, &mute), 0);
            EXPECT_EQ(usctl_get_stereo(&link.unit, ch, ch_no, &stereo), 0);
            EXPECT_EQ(level, value);
            EXPECT_EQ(mute, ch_no % 2);
            EXPECT_EQ(stereo, USMSG_DATA_CH_TYPE_STEREO);
        }
    }
    EXPECT_GE(channels, 5U);
}

TEST(GuestCommands, SetAndTellARoute)
{
    GuestUnit unit(0);
    GuestLink link;
    unit.with([](virtualunit_t &state) { state.route_count = 0; });
    EXPECT_EQ(usctl_set_route(&link.unit, USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, USMSG_DATA_CH_MASTER_OUT, 1), 0);
    char text[1024] = {};
    uint32_t length = 0;
    EXPECT_EQ(usctl_dump_routes(&link.unit, text, sizeof text, &length), 0);
    EXPECT_NE(std::string(text).find("USMSG_DATA_CH_DIRECTMONITOR_OUT:1 -> USMSG_DATA_CH_MASTER_OUT:1\n"),
              std::string::npos)
        << text;
}

TEST(GuestCommands, TellTheDebugText)
{
    GuestUnit unit(0);
    GuestLink link;
    const std::string said = "the display is cold";
    unit.with([&](virtualunit_t &state) { virtualunit_say(&state, said.data(), uint32_t(said.size())); });
    EXPECT_EQ(text_from(usctl_get_debug, &link.unit), said);
}

TEST(GuestCommands, WaitForABusyUnit)
{
    GuestUnit unit(0);
    GuestLink link;
    unit.strike(VIRTUALUNIT_FAULT_BUSY, 5);
    const uint32_t before = unit.transfers();
    EXPECT_EQ(usctl_set_u8(&link.unit, 9), 0);
    EXPECT_EQ(unit.transfers() - before, 5U + 1 + 1); // busy, ready, the message
    EXPECT_EQ(unit.with([](const virtualunit_t &state) { return state.setting_u8; }), 9);
}

TEST(GuestFirmware, MovesImagesWhole)
{
    GuestUnit unit(0);
    GuestLink link;
    for (const uint32_t size : {0U, 61U, 62U, 4097U, 65536U}) {
        SCOPED_TRACE(size);
        unit.with([](virtualunit_t &state) { state.firmware.allowance = 4096; });
        const std::vector<uint8_t> image = image_of(size);
        uint32_t progress = 1;
        EXPECT_EQ(usctl_fw_update(&link.unit, image.data(), size, &progress), 0);
        EXPECT_EQ(progress, size);
        unit.with([&](const virtualunit_t &state) {
            EXPECT_EQ(state.firmware.received, size);
            EXPECT_EQ(state.firmware.checksum, checksum_of(image));
            EXPECT_EQ(state.firmware.misfits, 0U);
        });
    }
}
