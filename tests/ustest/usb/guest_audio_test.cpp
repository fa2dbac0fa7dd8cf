// Audio plays and is recorded while the link is busy: neither disturbs the other.

#include "guestdevice.h"
#include "guestlink.h"
#include "guestsound.h"

#include "usctl.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

const std::vector<std::string> sound_driver(3, "snd-usb-audio");

bool wait_for_audio(UsbipDevice &usb, uint64_t packets)
{
    const UsbipDevice::Audio before = usb.audio();
    return wait_until([&] {
        const UsbipDevice::Audio now = usb.audio();
        return now.played_packets >= before.played_packets + packets
            && now.recorded_packets >= before.recorded_packets + packets;
    });
}

} // namespace

TEST(GuestAudio, GoesOnDuringTransfers)
{
    GuestUnit unit(0);
    GuestLink link;
    ASSERT_EQ(unit.usb.drivers(), sound_driver);
    GuestSound sound(unit.usb.card(), 44100);
    ASSERT_TRUE(sound.is_open());
    ASSERT_TRUE(wait_for_audio(unit.usb.usb(), 100));

    const uint64_t recorded_before = sound.recorded_frames();
    uint32_t exchanges = 0;
    // Until a second of audio has gone by beside them.
    const UsbipDevice::Audio before = unit.usb.usb().audio();
    while (unit.usb.usb().audio().played_packets < before.played_packets + 1000) {
        uint32_t hz = 0;
        const auto level = static_cast<uint8_t>(exchanges);
        uint8_t read_back = 0;
        ASSERT_EQ(usctl_get_hz(&link.unit, &hz), 0);
        ASSERT_EQ(hz, 44100U); // what the sound driver has set
        ASSERT_EQ(usctl_set_fader(&link.unit, USMSG_DATA_CH_MASTER_OUT, 1, level), 0);
        ASSERT_EQ(usctl_get_fader(&link.unit, USMSG_DATA_CH_MASTER_OUT, 1, &read_back), 0);
        ASSERT_EQ(read_back, level);
        ASSERT_EQ(unit.usb.drivers(), sound_driver);
        unit.with([&](const virtualunit_t &) {
            ASSERT_TRUE(unit.usb.device().is_playing());
            ASSERT_TRUE(unit.usb.device().is_recording());
        });
        ++exchanges;
    }
    EXPECT_GT(exchanges, 20U);
    EXPECT_TRUE(wait_for_audio(unit.usb.usb(), 100));
    EXPECT_GE(sound.recorded_frames() - recorded_before, 40000U);
    EXPECT_EQ(sound.breaks(), 0U);
    EXPECT_EQ(sound.failures(), 0U);
}

TEST(GuestAudio, GoesOnDuringFaults)
{
    GuestUnit unit(0);
    GuestLink link;
    GuestSound sound(unit.usb.card(), 48000);
    ASSERT_TRUE(sound.is_open());
    ASSERT_TRUE(wait_for_audio(unit.usb.usb(), 100));
    uint8_t block[64];
    for (const auto kind : {VIRTUALUNIT_FAULT_STALL, VIRTUALUNIT_FAULT_LATE}) {
        unit.strike(kind, 1);
        EXPECT_EQ(usdev_read(link.unit, USDEV_REQ_READ, 0, 0, sizeof block, block), 2);
        EXPECT_TRUE(wait_for_audio(unit.usb.usb(), 100));
    }
    EXPECT_EQ(unit.usb.drivers(), sound_driver);
    EXPECT_EQ(sound.breaks(), 0U);
    EXPECT_EQ(sound.failures(), 0U);
}

TEST(GuestAudio, MayBeginAndEndBetweenTransfers)
{
    GuestUnit unit(0);
    GuestLink link;
    uint32_t hz = 0;
    {
        GuestSound sound(unit.usb.card(), 96000);
        ASSERT_TRUE(sound.is_open());
        ASSERT_TRUE(wait_for_audio(unit.usb.usb(), 10));
        EXPECT_EQ(usctl_get_hz(&link.unit, &hz), 0);
        EXPECT_EQ(hz, 96000U);
    }
    EXPECT_TRUE(wait_until([&] { return unit.with([&](auto &) { return !unit.usb.device().is_playing(); }); }));
    EXPECT_EQ(usctl_get_hz(&link.unit, &hz), 0);
}
