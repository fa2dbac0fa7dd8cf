#include "usbdevs_win.h"

#include "printed.h"
#include "scriptedplatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string>

namespace {

using Bytes = std::vector<uint8_t>;

const std::u16string unit_path = u"\\\\?\\usb#unit#{class}\\global";

ScriptedPlatform::Device unit_at(const std::u16string &path)
{
    return {.service = u"kd-mx", .interfaces = {{.path = path}}};
}

usdev_t device_at(const std::u16string &path)
{
    usdev_t device = {};
    std::copy(path.begin(), path.end(), device.path);
    return device;
}

const std::string line = "../../ustest/usbdevs_win.cpp:#:ERROR\n";
const std::string wide_line = "ERROR : #\n";

ScriptedPlatform::Answer failing(uint32_t error)
{
    return {.bytes = {}, .error = error};
}

Bytes block_of(uint8_t first)
{
    Bytes block(64);
    std::iota(block.begin(), block.end(), first);
    return block;
}

} // namespace

TEST(UsdevRequest, HeaderIsSixteenBytesLittleEndian)
{
    EXPECT_EQ(sizeof(usdev_request_t), 16U);
    EXPECT_EQ(USDEV_IOCTL_TRANSFER, 2236416U);
}

TEST(UsdevList, FindsTheUnitByItsServiceName)
{
    ScriptedPlatform platform;
    platform.devices = {{.service = u"other", .interfaces = {{.path = u"\\\\?\\other\\global"}}}, unit_at(unit_path)};
    usdev_list_t list = {};
    usdev_t *device = nullptr;
    EXPECT_EQ(usdev_list_init(&list), 0);
    EXPECT_EQ(usdev_list_next(&list, &device), 0);
    EXPECT_EQ(device, &list.slots[0]);
    EXPECT_EQ(std::u16string(device->path), unit_path);
    EXPECT_EQ(device->reserved, 0U);
    EXPECT_EQ(list.scan_index, 1);
    EXPECT_EQ(platform.resources_in_use, 0);
}

TEST(UsdevList, WithoutAUnitEndsAtTenAndScansAgainAfterInit)
{
    ScriptedPlatform platform;
    platform.devices = {{.service = u"KD-MX", .interfaces = {{.path = unit_path}}}};
    usdev_list_t list = {};
    usdev_t *device = nullptr;
    usdev_list_init(&list);
    EXPECT_EQ(usdev_list_next(&list, &device), 1);
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(list.scan_index, 10);
    EXPECT_EQ(platform.enumerations, 1);
    EXPECT_EQ(usdev_list_next(&list, &device), 1);
    EXPECT_EQ(platform.enumerations, 1);

    platform.devices = {unit_at(unit_path)};
    usdev_list_init(&list);
    EXPECT_EQ(usdev_list_next(&list, &device), 0);
    EXPECT_EQ(usdev_list_next(&list, nullptr), 1);
    EXPECT_EQ(list.scan_index, 10);
}

TEST(UsdevList, InitKeepsTheSlots)
{
    ScriptedPlatform platform;
    usdev_list_t list = {};
    list.slots[0] = device_at(unit_path);
    list.scan_index = 7;
    usdev_list_init(&list);
    EXPECT_EQ(list.scan_index, 0);
    EXPECT_EQ(std::u16string(list.slots[0].path), unit_path);
}

TEST(UsdevFind, ServiceNamesAreComparedExactly)
{
    ScriptedPlatform platform;
    std::array<char16_t, 260> path = {};
    for (const char16_t *const service : {u"KD-MX", u"kd-mx2", u"kd-m", u"", u"kd-mx "}) {
        platform.devices = {{.service = service, .interfaces = {{.path = unit_path}}}};
        EXPECT_EQ(usdev_find(u"kd-mx", path.data(), 260, nullptr), 0);
    }
    platform.devices = {unit_at(unit_path)};
    EXPECT_EQ(usdev_find(u"kd-mx", path.data(), 260, nullptr), 1);
    EXPECT_EQ(usdev_find(nullptr, path.data(), 260, nullptr), 0);
    EXPECT_EQ(usdev_find(u"kd-mx", nullptr, 0, nullptr), 0);
}

TEST(UsdevFind, ServiceNameThatFillsItsBufferIsTerminated)
{
    ScriptedPlatform platform;
    platform.devices = {{.service = std::u16string(500, u'x'), .interfaces = {{.path = unit_path}}}};
    std::array<char16_t, 260> path = {};
    EXPECT_EQ(usdev_find(std::u16string(127, u'x').c_str(), path.data(), 260, nullptr), 1);
}

TEST(UsdevFind, ServiceNameThatCannotBeReadMatchesNothing)
{
    ScriptedPlatform platform;
    platform.devices = {unit_at(unit_path)};
    platform.devices[0].has_service = false;
    std::array<char16_t, 260> path = {};
    EXPECT_EQ(usdev_find(u"kd-mx", path.data(), 260, nullptr), 0);
}

TEST(UsdevFind, LastOfAllMatchingInterfacesWins)
{
    ScriptedPlatform platform;
    platform.devices = {unit_at(u"first\\global"),
                        {.service = u"kd-mx", .interfaces = {{.path = u"second\\a"}, {.path = u"second\\b"}}},
                        {.service = u"other", .interfaces = {{.path = u"third\\global"}}}};
    std::array<char16_t, 260> path = {};
    int status = -1;
    EXPECT_EQ(usdev_find(u"kd-mx", path.data(), 260, &status), 1);
    EXPECT_EQ(std::u16string(path.data()), u"second\\b");
    EXPECT_EQ(status, 0);
}

TEST(UsdevFind, LongPathIsCutAndStillFound)
{
    ScriptedPlatform platform;
    platform.devices = {unit_at(std::u16string(300, u'p'))};
    std::vector<char16_t> path(260, u'?');
    int status = -1;
    EXPECT_EQ(usdev_find(u"kd-mx", path.data(), 260, &status), 1);
    EXPECT_EQ(std::u16string(path.data()), std::u16string(259, u'p'));
    EXPECT_NE(status, 0);
}

TEST(UsdevFind, ClearsTheWholeBufferBehindTheText)
{
    ScriptedPlatform platform;
    platform.devices = {unit_at(u"p")};
    std::vector<char16_t> path(20, u'?');
    EXPECT_EQ(usdev_find(u"kd-mx", path.data(), 20, nullptr), 1);
    EXPECT_EQ(path[0], u'p');
    EXPECT_TRUE(std::all_of(path.begin() + 1, path.end(), [](char16_t unit) { return unit == 0; }));
}

TEST(UsdevFind, FailuresPrintALineEachAndTheScanGoesOn)
{
    ScriptedPlatform platform;
    platform.devices = {unit_at(unit_path),
                        {.service = u"kd-mx",
                         .interfaces = {{.path = u"a", .has_size = false}, {.path = u"b", .has_detail = false}},
                         .has_instance_id = false}};
    std::array<char16_t, 260> path = {};
    int found = 0;
    EXPECT_EQ(printed([&] { found = usdev_find(u"kd-mx", path.data(), 260, nullptr); }),
              wide_line + wide_line + wide_line);
    EXPECT_EQ(found, 1);
    EXPECT_EQ(std::u16string(path.data()), unit_path);
    EXPECT_EQ(platform.resources_in_use, 0);
}

TEST(UsdevFind, NoEnumerationPrintsALine)
{
    ScriptedPlatform platform;
    platform.can_enumerate = false;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_find(u"kd-mx", nullptr, 0, nullptr), 0); }), wide_line);
}

TEST(UsdevOpen, ReplacesTheReferenceString)
{
    ScriptedPlatform platform;
    usdev_open(u"\\\\?\\usb#unit#{class}\\global");
    usdev_open(u"no backslash");
    usdev_open(u"");
    EXPECT_EQ(platform.opened,
              (std::vector<std::u16string>{u"\\\\?\\usb#unit#{class}\\kd-mx", u"no backslash\\kd-mx", u"\\kd-mx"}));
}

TEST(UsdevOpen, LongPathStaysInItsBuffer)
{
    ScriptedPlatform platform;
    usdev_open(std::u16string(400, u'p').c_str());
    EXPECT_EQ(platform.opened.at(0), std::u16string(259, u'p'));
    usdev_open(std::u16string(256, u'p').c_str());
    EXPECT_EQ(platform.opened.at(1), std::u16string(256, u'p') + u"\\kd");
}

TEST(UsdevOpen, FailurePrintsTheSystemsErrorAndALine)
{
    ScriptedPlatform platform;
    platform.open_error = 5;
    platform.error_text = u"Access is denied: 100%% sure, ü, 語, \U0001F600.\r\n";
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_open(u"x"), USPLATFORM_INVALID_HANDLE); }),
              "GetLastError() = 0x5\nAccess is denied: 100% sure, ü, 語, 😀.\r\n" + wide_line);
}

TEST(UsdevWrite, SendsHeaderAndMessage)
{
    ScriptedPlatform platform;
    const usdev_t device = device_at(unit_path);
    const Bytes message = {0x61, 2, 5, 0x62, 2, 1};
    EXPECT_EQ(usdev_write(&device, USDEV_REQ_WRITE, 0x0102, 0x0304, 6, message.data()), 0);
    ASSERT_EQ(platform.requests.size(), 1U);
    const ScriptedPlatform::Request &request = platform.requests[0];
    EXPECT_EQ(request.code, 0x00222000U);
    EXPECT_EQ(request.out_length, 0U);
    EXPECT_EQ(request.in, (Bytes{0, 0, 0, 0, 6, 0, 0, 0, 23, 0, 2, 1, 4, 3, 0, 29, 0x61, 2, 5, 0x62, 2, 1}));
    EXPECT_EQ(request.path, u"\\\\?\\usb#unit#{class}\\kd-mx");
    EXPECT_EQ(platform.resources_in_use, 0);
}

TEST(UsdevWrite, BufferHasTwentyBytesAtLeast)
{
    const Bytes message(64, 0xAB);
    const usdev_t device = device_at(unit_path);
    for (uint32_t length = 1; length <= 64; ++length) {
        ScriptedPlatform platform;
        EXPECT_EQ(usdev_write(&device, USDEV_REQ_WRITE, 0, 0, length, message.data()), 0);
        const Bytes &in = platform.requests.at(0).in;
        ASSERT_EQ(in.size(), std::max(length + 16, 20U));
        EXPECT_EQ(in[4], length);
        EXPECT_EQ(std::count(in.begin() + 16, in.end(), 0xAB), length);
        EXPECT_EQ(in.back(), length < 4 ? 0 : 0xAB);
    }
}

TEST(UsdevWrite, RefusesNothingToSend)
{
    ScriptedPlatform platform;
    const usdev_t device = device_at(unit_path);
    const uint8_t byte = 1;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_write(&device, 29, 0, 0, 0, &byte), 1); }), line);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_write(&device, 29, 0, 0, 1, nullptr), 1); }), line);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_write(nullptr, 29, 0, 0, 1, &byte), 1); }), line);
    EXPECT_TRUE(platform.opened.empty());
}

TEST(UsdevWrite, FailuresPrintAndGiveEverythingBack)
{
    ScriptedPlatform platform;
    const usdev_t device = device_at(unit_path);
    const uint8_t byte = 1;
    platform.can_allocate = false;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_write(&device, 29, 0, 0, 1, &byte), 1); }), line);
    EXPECT_EQ(platform.resources_in_use, 0);
    platform.open_error = 2;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_write(&device, 29, 0, 0, 1, &byte), 1); }),
              "GetLastError() = 0x2\n" + wide_line + line);
    EXPECT_EQ(platform.resources_in_use, 0);
}

TEST(UsdevWrite, ReturnedBytesFail)
{
    ScriptedPlatform platform;
    const usdev_t device = device_at(unit_path);
    const Bytes message = {0x31, 1, 0, 0};
    platform.answers = {{.bytes = {}, .returned = 4}};
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_write(&device, 29, 0, 0, 4, message.data()), 1); }), line);
    EXPECT_EQ(platform.resources_in_use, 0);
}

TEST(UsdevRead, SendsTheHeaderAndTakesTheBlock)
{
    ScriptedPlatform platform;
    const usdev_t device = device_at(unit_path);
    platform.answers = {{.bytes = block_of(7)}};
    Bytes block(64);
    EXPECT_EQ(usdev_read(&device, USDEV_REQ_READ, 0, 0, 64, block.data()), 0);
    EXPECT_EQ(block, block_of(7));
    EXPECT_EQ(platform.requests.at(0).in, (Bytes{1, 0, 0, 0, 0, 0, 0, 0, 23, 0, 0, 0, 0, 0, 0, 30, 0, 0, 0, 0}));
    EXPECT_EQ(platform.requests.at(0).out_length, 64U);
    EXPECT_EQ(platform.resources_in_use, 0);
}

TEST(UsdevRead, ShortAnswersFail)
{
    const usdev_t device = device_at(unit_path);
    for (const size_t count : {size_t{0}, size_t{20}, size_t{63}}) {
        ScriptedPlatform platform;
        platform.answers = {{.bytes = Bytes(count)}};
        Bytes block(64);
        EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_read(&device, 30, 0, 0, 64, block.data()), 1); }), line) << count;
    }
}

TEST(UsdevRead, MoreThanTheBlockFails)
{
    ScriptedPlatform platform;
    const usdev_t device = device_at(unit_path);
    platform.answers = {{.bytes = block_of(7), .returned = 65}};
    Bytes block(64);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_read(&device, 30, 0, 0, 64, block.data()), 1); }), line);
    EXPECT_EQ(platform.resources_in_use, 0);
}

TEST(UsdevRead, WithoutADeviceOrAPathFails)
{
    ScriptedPlatform platform;
    Bytes block(64);
    const usdev_t device = device_at(unit_path);
    EXPECT_EQ(usdev_read(nullptr, 30, 0, 0, 64, block.data()), 1);
    platform.open_error = 2;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_read(&device, 30, 0, 0, 64, block.data()), 1); }),
              "GetLastError() = 0x2\n" + wide_line);
}

TEST(UsdevIoctl, OnlyErrorThirtyOneIsWorthARetry)
{
    const usdev_t device = device_at(unit_path);
    const uint8_t byte = 1;
    for (const uint32_t error : {1U, 5U, 30U, 31U, 32U, 1167U, 0xFFFFFFFFU}) {
        ScriptedPlatform platform;
        platform.answers = {failing(error), failing(error)};
        Bytes block(64);
        EXPECT_EQ(usdev_write(&device, 29, 0, 0, 1, &byte), error == 31 ? 2 : 1) << error;
        EXPECT_EQ(usdev_read(&device, 30, 0, 0, 64, block.data()), error == 31 ? 2 : 1) << error;
        EXPECT_EQ(platform.resources_in_use, 0);
    }
}

TEST(UsdevIoctl, FailurePrintsTheLineAndThenTheSystemsError)
{
    ScriptedPlatform platform;
    platform.answers = {failing(31)};
    platform.error_text = u"A device is not functioning.\n";
    const usdev_t device = device_at(unit_path);
    const uint8_t byte = 1;
    EXPECT_EQ(printed([&] { usdev_write(&device, 29, 0, 0, 1, &byte); }),
              line + "GetLastError() = 0x1f\nA device is not functioning.\n");
}

TEST(UsdevLastError, PrintsAndReturnsTheCode)
{
    ScriptedPlatform platform;
    platform.open_error = 0x1234;
    platform.error_text = u"Nothing here.\n";
    // Opening prints the error as well.
    printed([] { usdev_open(u"x"); });
    EXPECT_EQ(printed([] { EXPECT_EQ(usdev_last_error(), 0x1234U); }), "GetLastError() = 0x1234\nNothing here.\n");
}
