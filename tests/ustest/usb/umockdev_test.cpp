#include "printed.h"
#include "umockdev_bus.h"
#include "usctl.h"
#include "usplatform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <dirent.h>
#include <fstream>
#include <linux/capability.h>
#include <numeric>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

// The device link with the system's real platform and libusb, on a USB bus that is made of files. Run by umockdevunit
// with two units: 0 at 1-3.2 and 1, which the link finds, at 1-3.10.

namespace {

using umockdev_bus::tell;

constexpr const char16_t *last_unit_path = u"usb:1-3.10\\global";
constexpr const char *last_unit_address = "/sys/bus/usb/devices/1-3.10/devnum";

/// A text in the way that googletest prints best.
std::string narrow(std::u16string_view text)
{
    return {text.begin(), text.end()};
}

int entries(const char *folder)
{
    int count = 0;
    DIR *const open_folder = ::opendir(folder);
    while (::readdir(open_folder) != nullptr)
        ++count;
    ::closedir(open_folder);
    return count;
}

std::string content(const char *path)
{
    std::string line;
    std::ifstream file(path);
    std::getline(file, line);
    return line;
}

class Umockdev : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(umockdev_bus::is_there()) << "to be run by umockdevunit";
        tell("permit");
        tell("reset 0 hz=44100");
        tell("reset 1 hz=96000");
        usdev_list_init(&list);
        ASSERT_EQ(usdev_list_next(&list, &unit), 0);
    }

    /// Makes the next transfers with the unit go wrong.
    static void fault(const std::string &script) { tell("reset 1 " + script); }

    int read() { return usdev_read(unit, USDEV_REQ_READ, 0, 0, sizeof(block), block); }

    int write(const std::vector<uint8_t> &message)
    {
        return usdev_write(unit, USDEV_REQ_WRITE, 0, 0, static_cast<uint32_t>(message.size()), message.data());
    }

    /// A read that fails with this result, and with the system's error code on standard output.
    void expect_failed_read(int result, const char *code)
    {
        const std::string lines = printed([&] { EXPECT_EQ(read(), result); });
        EXPECT_NE(lines.find(std::string("GetLastError() = ") + code + "\n"), std::string::npos) << lines;
    }

    usdev_list_t list = {};
    usdev_t *unit = nullptr;
    uint8_t block[USMSG_MAX_SIZE] = {};
};

TEST_F(Umockdev, findsTheLastUnitAmongOtherDevices)
{
    EXPECT_EQ(narrow(unit->path), narrow(last_unit_path));
    EXPECT_EQ(usdev_list_next(&list, &unit), 1);
}

TEST_F(Umockdev, findsTheOneUnitThatIsLeft)
{
    tell("unplug 1");
    usdev_list_init(&list);
    ASSERT_EQ(usdev_list_next(&list, &unit), 0);
    EXPECT_EQ(narrow(unit->path), "usb:1-3.2\\global");
    uint32_t hz = 0;
    EXPECT_EQ(usctl_get_hz(&unit, &hz), 0);
    EXPECT_EQ(hz, 44100U);
}

TEST_F(Umockdev, findsNothingWithoutUnits)
{
    tell("unplug 0");
    tell("unplug 1");
    usdev_list_init(&list);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_list_next(&list, &unit), 1); }), "");
}

TEST_F(Umockdev, listsTheAudioDevicesInTheOrderOfTheirPlaces)
{
    const usplatform_t *const platform = usplatform();
    const usplatform_class_t audio = {};
    const intptr_t set = platform->enumerate(&audio);
    std::vector<std::string> found;
    for (uint32_t device = 0; platform->has_device(set, device) != 0; ++device) {
        char16_t service[64] = {};
        char16_t instance[64] = {};
        EXPECT_EQ(platform->service(set, device, service, sizeof(service)), 1);
        EXPECT_EQ(platform->instance_id(set, device, instance, 64), 1);
        EXPECT_EQ(platform->has_interface(set, device, &audio, 0), 1);
        EXPECT_EQ(platform->has_interface(set, device, &audio, 1), 0);
        found.push_back(narrow(instance) + ' ' + narrow(service));
    }
    platform->end_enumeration(set);
    EXPECT_EQ(found,
              (std::vector<std::string>{"usb:1-2 snd-usb-audio", "usb:1-3.2 kd-mx", "usb:1-3.10 kd-mx",
                                        "usb:1-4 snd-usb-audio", "usb:1-5 snd-usb-audio", "usb:1-6 snd-usb-audio"}));
}

TEST_F(Umockdev, givesNamesWholeOrNotAtAll)
{
    const usplatform_t *const platform = usplatform();
    const usplatform_class_t audio = {};
    const intptr_t set = platform->enumerate(&audio);
    // The device at 1-2, and one unit more in which nobody may write.
    constexpr uint32_t instance_units = sizeof("usb:1-2");
    constexpr uint32_t service_units = sizeof("snd-usb-audio");
    char16_t text[service_units + 1] = {};
    text[instance_units - 1] = u'x';
    EXPECT_EQ(platform->instance_id(set, 0, text, instance_units - 1), 0);
    EXPECT_EQ(text[instance_units - 1], u'x');
    EXPECT_EQ(platform->instance_id(set, 0, text, instance_units), 1);
    EXPECT_EQ(narrow(text), "usb:1-2");
    text[service_units - 1] = u'x';
    EXPECT_EQ(platform->service(set, 0, text, static_cast<uint32_t>((service_units - 1) * sizeof(char16_t))), 0);
    EXPECT_EQ(text[service_units - 1], u'x');
    EXPECT_EQ(platform->service(set, 0, text, static_cast<uint32_t>(service_units * sizeof(char16_t))), 1);
    EXPECT_EQ(narrow(text), "snd-usb-audio");
    platform->end_enumeration(set);
}

TEST_F(Umockdev, queries)
{
    uint32_t hz = 0;
    EXPECT_EQ(usctl_get_hz(&unit, &hz), 0);
    EXPECT_EQ(hz, 96000U);
    uint8_t name[32] = {};
    uint8_t length = 0;
    EXPECT_EQ(usctl_get_productname(&unit, name, sizeof(name), &length), 0);
    EXPECT_EQ(std::string(name, name + length), "KD-MX2");
}

TEST_F(Umockdev, setsOneUnitAndNotTheOther)
{
    usdev_t other = *unit;
    const std::u16string_view other_path = u"usb:1-3.2\\global";
    std::fill(std::begin(other.path), std::end(other.path), u'\0');
    std::copy(other_path.begin(), other_path.end(), other.path);
    usdev_t *other_unit = &other;
    EXPECT_EQ(usctl_set_fader(&unit, USMSG_DATA_CH_ANALOG_IN, 2, 17), 0);
    uint8_t value = 0;
    EXPECT_EQ(usctl_get_fader(&unit, USMSG_DATA_CH_ANALOG_IN, 2, &value), 0);
    EXPECT_EQ(value, 17);
    EXPECT_EQ(usctl_get_fader(&other_unit, USMSG_DATA_CH_ANALOG_IN, 2, &value), 0);
    EXPECT_NE(value, 17);
}

TEST_F(Umockdev, movesMessagesOfEveryLength)
{
    for (uint8_t length = 1; length <= USMSG_MAX_SIZE; ++length)
        EXPECT_EQ(write(std::vector<uint8_t>(length)), 0) << int(length);
}

TEST_F(Umockdev, movesAFirmwareImage)
{
    fault("allowance=200");
    std::vector<uint8_t> image(2000);
    std::iota(image.begin(), image.end(), uint8_t(0));
    uint32_t progress = 0;
    const std::string lines = printed(
        [&] { EXPECT_EQ(usctl_fw_update(&unit, image.data(), static_cast<uint32_t>(image.size()), &progress), 0); });
    EXPECT_EQ(progress, image.size());
    EXPECT_NE(lines.find("FWUP OK\n"), std::string::npos) << lines;
}

TEST_F(Umockdev, givesTheRetryableResultForAStall)
{
    fault("stall");
    expect_failed_read(2, "0x1f");
    EXPECT_EQ(read(), 0);
    fault("stall");
    printed([&] { EXPECT_EQ(write({0, 0}), 2); });
    EXPECT_EQ(write({0, 0}), 0);
}

TEST_F(Umockdev, sendsAgainAfterAStall)
{
    std::vector<uint8_t> message = {0, 0};
    const usmsg_buf_t buffer = {message.data(), 2, 2};
    fault("stall*2");
    printed([&] { EXPECT_EQ(usctl_send(&unit, &buffer), 0); });
    fault("stall*3");
    printed([&] { EXPECT_EQ(usctl_send(&unit, &buffer), 1); });
}

TEST_F(Umockdev, givesTheRetryableResultForALateAnswer)
{
    fault("late");
    expect_failed_read(2, "0x1f");
    EXPECT_EQ(read(), 0);
    fault("late");
    printed([&] { EXPECT_EQ(write({0, 0}), 2); });
    EXPECT_EQ(write({0, 0}), 0);
}

TEST_F(Umockdev, failsForGood)
{
    fault("hard");
    expect_failed_read(1, "0x45d");
    EXPECT_EQ(read(), 0);
}

TEST_F(Umockdev, failsOnAShortBlock)
{
    for (const char *script : {"short:0", "short:20", "short:63"}) {
        fault(script);
        EXPECT_EQ(printed([&] { EXPECT_EQ(read(), 1); }), "../../ustest/usbdevs_win.cpp:#:ERROR\n") << script;
        EXPECT_EQ(read(), 0);
    }
}

TEST_F(Umockdev, losesTheUnitDuringATransferAndFindsItAgainAtItsPlace)
{
    fault("unplug*ever");
    const std::string address = content(last_unit_address);
    expect_failed_read(1, "0x48f");
    expect_failed_read(1, "0x2");
    printed([&] { EXPECT_EQ(write({0, 0}), 1); });

    tell("reset 1 hz=88200");
    EXPECT_NE(content(last_unit_address), address);
    uint32_t hz = 0;
    EXPECT_EQ(usctl_get_hz(&unit, &hz), 0);
    EXPECT_EQ(hz, 88200U);
}

TEST_F(Umockdev, losesTheUnitBetweenTransfers)
{
    tell("unplug 1");
    expect_failed_read(1, "0x2");
    tell("plug 1");
    EXPECT_EQ(read(), 0);
}

TEST_F(Umockdev, losesTheUnitWhileItIsOpen)
{
    const intptr_t handle = usplatform()->open(u"usb:1-3.10\\kd-mx");
    ASSERT_NE(handle, USPLATFORM_INVALID_HANDLE);
    tell("unplug 1");
    const usdev_request_t header = {1, 0, 23, 0, 0, 0, USDEV_REQ_READ};
    uint8_t request[20] = {};
    std::memcpy(request, &header, sizeof(header));
    uint32_t returned = 0;
    EXPECT_EQ(usplatform()->control(handle, USDEV_IOCTL_TRANSFER, request, 20, block, 64, &returned), 0);
    EXPECT_EQ(usplatform()->last_error(), USPLATFORM_ERROR_NOT_CONNECTED);
    usplatform()->close(handle);
}

TEST_F(Umockdev, opensControlPathsOfUnitsOnly)
{
    for (const char16_t *path : {u"usb:1-3.10\\global", u"usb:1-3.10", u"1-3.10\\kd-mx", u"\\kd-mx", u"usb:1-4\\kd-mx",
                                 u"usb:1-2\\kd-mx", u"usb:1-3\\kd-mx", u"usb:usb1\\kd-mx", u"usb:../1-3.10\\kd-mx"}) {
        EXPECT_EQ(usplatform()->open(path), USPLATFORM_INVALID_HANDLE) << narrow(path);
        EXPECT_EQ(usplatform()->last_error(), USPLATFORM_ERROR_NOT_FOUND) << narrow(path);
    }
}

TEST_F(Umockdev, refusesRequestsThatTheDriverDoesNotKnow)
{
    const intptr_t handle = usplatform()->open(u"usb:1-3.10\\kd-mx");
    ASSERT_NE(handle, USPLATFORM_INVALID_HANDLE);
    const auto refused = [&](const usdev_request_t &header, uint32_t code, uint32_t in_length, void *out,
                             uint32_t out_length) {
        uint8_t request[80] = {};
        std::memcpy(request, &header, sizeof(header));
        uint32_t returned = 1;
        const int done = usplatform()->control(handle, code, request, in_length, out, out_length, &returned);
        return done == 0 && returned == 0 && usplatform()->last_error() == 87;
    };
    const usdev_request_t good_read = {1, 0, 23, 0, 0, 0, USDEV_REQ_READ};
    const usdev_request_t good_write = {0, 5, 23, 0, 0, 0, USDEV_REQ_WRITE};
    usdev_request_t other_function = good_read;
    other_function.function = 22;
    usdev_request_t other_direction = good_read;
    other_direction.direction = 2;
    EXPECT_TRUE(refused(good_read, USDEV_IOCTL_TRANSFER + 4, 20, block, 64));
    EXPECT_TRUE(refused(good_read, USDEV_IOCTL_TRANSFER, 19, block, 64));
    EXPECT_TRUE(refused(good_read, USDEV_IOCTL_TRANSFER, 20, nullptr, 64));
    EXPECT_TRUE(refused(good_read, USDEV_IOCTL_TRANSFER, 20, block, 0));
    EXPECT_TRUE(refused(good_read, USDEV_IOCTL_TRANSFER, 20, block, 65536));
    EXPECT_TRUE(refused(other_function, USDEV_IOCTL_TRANSFER, 20, block, 64));
    EXPECT_TRUE(refused(other_direction, USDEV_IOCTL_TRANSFER, 20, block, 64));
    EXPECT_TRUE(refused(good_write, USDEV_IOCTL_TRANSFER, 20, nullptr, 0)) << "five bytes do not fit behind the header";
    EXPECT_FALSE(refused(good_write, USDEV_IOCTL_TRANSFER, 21, nullptr, 0));
    EXPECT_FALSE(refused(good_read, USDEV_IOCTL_TRANSFER, 20, block, 64));
    usplatform()->close(handle);
}

TEST_F(Umockdev, tellsThatTheUserMayNotUseTheUnit)
{
    if (::geteuid() == 0 && ::prctl(PR_CAPBSET_READ, CAP_DAC_OVERRIDE) != 0)
        GTEST_SKIP() << "SKIP this root may open any file";
    tell("forbid");
    usdev_list_init(&list);
    EXPECT_EQ(usdev_list_next(&list, &unit), 0) << "finding opens nothing";
    expect_failed_read(1, "0x5");
    tell("permit");
    EXPECT_EQ(read(), 0);
}

TEST_F(Umockdev, leavesNothingOpenBehindATransfer)
{
    ASSERT_EQ(read(), 0);
    const int files = entries("/proc/self/fd");
    for (int transfer = 0; transfer < 20; ++transfer)
        ASSERT_EQ(read(), 0);
    fault("stall,late@1,hard@2");
    printed([&] {
        for (int transfer = 0; transfer < 3; ++transfer)
            read();
    });
    tell("unplug 1");
    printed([&] { read(); });
    EXPECT_EQ(entries("/proc/self/fd"), files);
    EXPECT_EQ(entries("/proc/self/task"), 3) << "one thread, and the two dots";
}

} // namespace
