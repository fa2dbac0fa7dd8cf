#include "virtualusb.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

using namespace virtualusb;

namespace {

using Bytes = std::vector<uint8_t>;

/// One descriptor of a configuration, its length byte included.
using Descriptors = std::vector<Bytes>;

Descriptors split(const Bytes &configuration)
{
    Descriptors descriptors;
    for (size_t at = 0; at < configuration.size();) {
        const size_t length = configuration[at];
        if (length < 2 || at + length > configuration.size()) {
            ADD_FAILURE() << "no descriptor at " << at;
            break;
        }
        descriptors.emplace_back(configuration.begin() + static_cast<std::ptrdiff_t>(at),
                                 configuration.begin() + static_cast<std::ptrdiff_t>(at + length));
        at += length;
    }
    return descriptors;
}

size_t count(const Descriptors &descriptors, uint8_t type)
{
    return static_cast<size_t>(std::count_if(descriptors.begin(), descriptors.end(),
                                             [type](const Bytes &descriptor) { return descriptor[1] == type; }));
}

constexpr uint8_t to_interface = 0x21;
constexpr uint8_t from_interface = 0xA1;
constexpr uint16_t frequency = 0x0100;
constexpr uint16_t clock_index = 0x1000;

} // namespace

class VirtualUsb : public testing::Test
{
protected:
    static virtualunit_t new_unit()
    {
        virtualunit_t unit;
        virtualunit_init(&unit);
        return unit;
    }

    Reply get(uint8_t type, uint8_t request, uint16_t value, uint16_t index, uint16_t length)
    {
        return device.control({type, request, value, index, length}, {});
    }

    Reply put(uint8_t type, uint8_t request, uint16_t value, uint16_t index, const Bytes &data)
    {
        return device.control({type, request, value, index, static_cast<uint16_t>(data.size())}, data);
    }

    virtualunit_t unit = new_unit();
    Device device{unit_description(unit, "42"), &unit};
};

TEST(VirtualUsbSetup, IsLittleEndian)
{
    const uint8_t bytes[8] = {0x80, 6, 0x02, 0x03, 0x09, 0x04, 0xFF, 0x00};
    const virtualusb::Setup setup = setup_from(bytes);
    EXPECT_EQ(setup.request_type, 0x80);
    EXPECT_EQ(setup.request, 6);
    EXPECT_EQ(setup.value, 0x0302);
    EXPECT_EQ(setup.index, 0x0409);
    EXPECT_EQ(setup.length, 255);
    EXPECT_TRUE(is_to_host(setup));
}

TEST_F(VirtualUsb, DeviceDescriptorIsThatOfAnAudioDevice)
{
    EXPECT_EQ(device.device_descriptor(),
              Bytes({18, 1, 0x00, 0x02, 0xEF, 0x02, 0x01, 64, 0x09, 0x12, 0x01, 0x00, 0x00, 0x01, 1, 2, 3, 1}));
    EXPECT_EQ(get(0x80, 6, 0x0100, 0, 18).data, device.device_descriptor());
    EXPECT_EQ(get(0x80, 6, 0x0100, 0, 8).data.size(), 8U); // as hosts ask first
}

TEST_F(VirtualUsb, ConfigurationFitsTogether)
{
    const Bytes &bytes = device.configuration_descriptor();
    const Descriptors descriptors = split(bytes);
    ASSERT_GT(descriptors.size(), 2U);
    EXPECT_EQ(bytes[2] | bytes[3] << 8, static_cast<int>(bytes.size()));
    EXPECT_EQ(bytes[4], 3); // interfaces
    EXPECT_EQ(descriptors[1], Bytes({8, 0x0B, 0, 3, 1, 0, 0x20, 0})); // which belong together
    EXPECT_EQ(count(descriptors, 0x04), 5U); // control, and two settings of each stream
    EXPECT_EQ(count(descriptors, 0x05), 2U);
}

TEST_F(VirtualUsb, AudioHeaderCountsItsEntities)
{
    const Descriptors descriptors = split(device.configuration_descriptor());
    const Bytes &header = descriptors[3];
    ASSERT_EQ(header[1], 0x24);
    size_t length = 0;
    for (size_t i = 3; descriptors[i][1] == 0x24; ++i)
        length += descriptors[i].size();
    EXPECT_EQ(header[6] | header[7] << 8, static_cast<int>(length));
}

TEST_F(VirtualUsb, EndpointsAreIsochronousInBothDirections)
{
    Bytes addresses;
    for (const Bytes &descriptor : split(device.configuration_descriptor())) {
        if (descriptor[1] != 0x05)
            continue;
        addresses.push_back(descriptor[2]);
        EXPECT_EQ(descriptor[3] & 3, 1); // isochronous
        EXPECT_GE(descriptor[4] | descriptor[5] << 8, 96 * 4); // room for a millisecond at the highest rate
    }
    EXPECT_EQ(addresses, Bytes({playback_endpoint, recording_endpoint}));
}

TEST_F(VirtualUsb, StringsTellMakerProductAndNumber)
{
    EXPECT_EQ(get(0x80, 6, 0x0300, 0, 255).data, Bytes({4, 3, 0x09, 0x04}));
    EXPECT_EQ(get(0x80, 6, 0x0301, 0x0409, 255).data, Bytes({14, 3, 'V', 0, 'E', 0, 'L', 0, 'M', 0, 'A', 0, 'R', 0}));
    EXPECT_EQ(get(0x80, 6, 0x0302, 0x0409, 255).data, Bytes({14, 3, 'K', 0, 'D', 0, '-', 0, 'M', 0, 'X', 0, '2', 0}));
    EXPECT_EQ(get(0x80, 6, 0x0303, 0x0409, 255).data, Bytes({6, 3, '4', 0, '2', 0}));
    EXPECT_EQ(get(0x80, 6, 0x0304, 0x0409, 255).outcome, Outcome::Stalled);
}

TEST_F(VirtualUsb, TextsAreCutToADescriptor)
{
    Device other(foreign_description(Function::Vendor, std::string(200, 'x'), "\xC3\xA9"), nullptr);
    const Reply maker = other.control({0x80, 6, 0x0301, 0x0409, 255}, {});
    EXPECT_EQ(maker.data.size(), 254U);
    EXPECT_EQ(maker.data[0], 254);
    EXPECT_EQ(other.control({0x80, 6, 0x0302, 0x0409, 255}, {}).data, Bytes({6, 3, '?', 0, '?', 0}));
}

TEST_F(VirtualUsb, KnowsNoDescriptorsOfOtherKinds)
{
    EXPECT_EQ(get(0x80, 6, 0x0600, 0, 10).outcome, Outcome::Stalled); // another speed
    EXPECT_EQ(get(0x80, 6, 0x0F00, 0, 5).outcome, Outcome::Stalled); // extensions
    EXPECT_EQ(get(0x80, 6, 0x0201, 0, 9).outcome, Outcome::Stalled); // a second configuration
}

TEST_F(VirtualUsb, StreamsAreSwitchedByAlternateSettings)
{
    EXPECT_EQ(put(0x00, 9, 1, 0, {}).outcome, Outcome::Done);
    EXPECT_EQ(get(0x80, 8, 0, 0, 1).data, Bytes({1}));
    EXPECT_FALSE(device.is_playing());
    EXPECT_EQ(put(0x01, 11, 1, 1, {}).outcome, Outcome::Done);
    EXPECT_TRUE(device.is_playing());
    EXPECT_FALSE(device.is_recording());
    EXPECT_EQ(get(0x81, 10, 0, 1, 1).data, Bytes({1}));
    EXPECT_EQ(put(0x01, 11, 1, 2, {}).outcome, Outcome::Done);
    EXPECT_TRUE(device.is_recording());
    for (const auto &[setting, interface] : {std::pair(2, 1), {1, 0}, {0, 3}, {0, 0xFFFF}})
        EXPECT_EQ(put(0x01, 11, uint16_t(setting), uint16_t(interface), {}).outcome, Outcome::Stalled);
    EXPECT_EQ(put(0x00, 9, 2, 0, {}).outcome, Outcome::Stalled);
    device.reset();
    EXPECT_FALSE(device.is_playing());
    EXPECT_EQ(get(0x80, 8, 0, 0, 1).data, Bytes({0}));
}

TEST_F(VirtualUsb, ClockTellsAndTakesTheRate)
{
    unit.hz = 48000;
    EXPECT_EQ(get(from_interface, 1, frequency, clock_index, 4).data, Bytes({0x80, 0xBB, 0, 0}));
    EXPECT_EQ(put(to_interface, 1, frequency, clock_index, {0x44, 0xAC, 0, 0}).outcome, Outcome::Done);
    EXPECT_EQ(unit.hz, 44100U);
    EXPECT_EQ(put(to_interface, 1, frequency, clock_index, {1, 0, 0, 0}).outcome, Outcome::Stalled);
    EXPECT_EQ(put(to_interface, 1, frequency, clock_index, {0x80, 0xBB}).outcome, Outcome::Stalled);
    EXPECT_EQ(unit.hz, 44100U);
    EXPECT_EQ(get(from_interface, 1, 0x0200, clock_index, 1).data, Bytes({1})); // valid
    const Bytes range = get(from_interface, 2, frequency, clock_index, 1024).data;
    ASSERT_EQ(range.size(), 2U + 4 * 12);
    EXPECT_EQ(range[0], 4);
    EXPECT_EQ(get(from_interface, 1, frequency, 0x0200, 4).outcome, Outcome::Stalled); // no clock
}

TEST_F(VirtualUsb, VendorRequestsAreTheUnitsMessages)
{
    EXPECT_EQ(put(0x40, write_request, 0, 0, {0x13, 2, 99, 0, 0}).outcome, Outcome::Done);
    EXPECT_EQ(unit.setting_u8, 99);
    const Reply block = get(0xC0, read_request, 0, 0, 64);
    EXPECT_EQ(block.outcome, Outcome::Done);
    EXPECT_EQ(block.data.size(), 64U);
    EXPECT_EQ(block.data[0], 0xA1);
    EXPECT_EQ(unit.transfers, 2U);
}

TEST_F(VirtualUsb, AllOtherVendorRequestsAreStalledAndDoNotReachTheUnit)
{
    const Bytes message = {0x13, 2, 99, 0, 0};
    EXPECT_EQ(put(0x40, 28, 0, 0, message).outcome, Outcome::Stalled);
    EXPECT_EQ(put(0x40, write_request, 1, 0, message).outcome, Outcome::Stalled);
    EXPECT_EQ(put(0x40, write_request, 0, 1, message).outcome, Outcome::Stalled);
    EXPECT_EQ(put(0x41, write_request, 0, 0, message).outcome, Outcome::Stalled); // to an interface
    EXPECT_EQ(get(0xC0, write_request, 0, 0, 64).outcome, Outcome::Stalled);
    EXPECT_EQ(get(0xC0, read_request, 0, 0, 63).outcome, Outcome::Stalled);
    EXPECT_EQ(get(0xC0, read_request, 0, 0, 65).outcome, Outcome::Stalled);
    EXPECT_EQ(get(0xC1, read_request, 0, 0, 64).outcome, Outcome::Stalled);
    EXPECT_EQ(device.control({0x40, write_request, 0, 0, 5}, Bytes({0x13, 2})).outcome, Outcome::Stalled);
    EXPECT_EQ(unit.transfers, 0U);
}

TEST_F(VirtualUsb, FaultsOfTheUnitComeOut)
{
    const std::pair<uint32_t, Outcome> cases[] = {
        {VIRTUALUNIT_FAULT_STALL, Outcome::Stalled},
        {VIRTUALUNIT_FAULT_LATE, Outcome::Late},
        {VIRTUALUNIT_FAULT_HARD, Outcome::Failed},
        {VIRTUALUNIT_FAULT_UNPLUG, Outcome::Gone},
    };
    for (const auto &[kind, outcome] : cases) {
        unit.fault_count = 0;
        virtualunit_add_fault(&unit, {kind, unit.transfers, 2, 0});
        EXPECT_EQ(get(0xC0, read_request, 0, 0, 64).outcome, outcome);
        EXPECT_EQ(put(0x40, write_request, 0, 0, {0, 0}).outcome, outcome);
        EXPECT_EQ(get(0xC0, read_request, 0, 0, 64).outcome, Outcome::Done);
    }
    virtualunit_add_fault(&unit, {VIRTUALUNIT_FAULT_SHORT, unit.transfers, 1, 20});
    EXPECT_EQ(get(0xC0, read_request, 0, 0, 64).data.size(), 20U);
}

TEST_F(VirtualUsb, ForeignDevicesHaveNoUnit)
{
    Device sound(foreign_description(Function::Audio, "Sonora", "Stage"), nullptr);
    EXPECT_EQ(sound.control({0xC0, read_request, 0, 0, 64}, {}).outcome, Outcome::Stalled);
    EXPECT_EQ(sound.control({to_interface, 1, frequency, clock_index, 4}, Bytes({0x44, 0xAC, 0, 0})).outcome,
              Outcome::Done);
    EXPECT_EQ(sound.sample_rate(), 44100U);

    Device gadget(foreign_description(Function::Vendor, "VELMAR", "KD-MX2"), nullptr);
    const Descriptors descriptors = split(gadget.configuration_descriptor());
    ASSERT_EQ(descriptors.size(), 2U);
    EXPECT_EQ(descriptors[1][5], 0xFF); // of its own class: no audio
    EXPECT_EQ(gadget.control({from_interface, 1, frequency, clock_index, 4}, {}).outcome, Outcome::Stalled);
    EXPECT_EQ(gadget.control({0x01, 11, 0, 1, 0}, {}).outcome, Outcome::Stalled);
}
