#include "virtualplatform.h"

#include "printed.h"
#include "usbdevs_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr usplatform_class_t audio_class = {
    0x65E8773E, 0x8F56, 0x11D0, {0xA3, 0xB9, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

const std::u16string control_path = u"\\\\?\\virtual#kd-mx#1#{65e8773e-8f56-11d0-a3b9-00a0c9223196}\\kd-mx";

/// The bytes of a request to the driver, and what comes back.
struct Request
{
    uint32_t code = 0x222000;
    Bytes in;
    uint32_t out_length = 0;
};

Request write_of(const Bytes &message)
{
    const Bytes header = {0, 0, 0, 0, static_cast<uint8_t>(message.size()), 0, 0, 0, 23, 0, 0, 0, 0, 0, 0, 29};
    Request request;
    request.in.resize(std::max<size_t>(header.size() + message.size(), 20));
    std::copy(message.begin(), message.end(), std::copy(header.begin(), header.end(), request.in.begin()));
    return request;
}

Request read_of_a_block()
{
    return {.in = {1, 0, 0, 0, 0, 0, 0, 0, 23, 0, 0, 0, 0, 0, 0, 30, 0, 0, 0, 0}, .out_length = 64};
}

class Platform : public testing::Test
{
protected:
    Platform()
    {
        virtualunit_init(&unit);
        platform = virtualplatform::with(&unit, virtualplatform::Pauses::Counted);
        usplatform_use(platform);
    }

    ~Platform() override
    {
        EXPECT_EQ(virtualplatform::open_handles(), 0U);
        usplatform_use(nullptr);
    }

    void add_fault(uint32_t kind, uint32_t first = 0, uint32_t count = 1, uint32_t parameter = 0)
    {
        ASSERT_EQ(virtualunit_add_fault(&unit, {kind, first, count, parameter}), 0);
    }

    /// The error of one request, 0 when it succeeds.
    uint32_t error_of(const Request &request)
    {
        const intptr_t handle = platform->open(control_path.c_str());
        if (handle == USPLATFORM_INVALID_HANDLE)
            return platform->last_error();
        out.assign(request.out_length, 0xEE);
        returned = 0xEEEE;
        const int result =
            platform->control(handle, request.code, request.in.data(), static_cast<uint32_t>(request.in.size()),
                              out.data(), request.out_length, &returned);
        const uint32_t error = platform->last_error();
        platform->close(handle);
        return result != 0 ? 0 : error;
    }

    uint32_t open_error(const std::u16string &path)
    {
        const intptr_t handle = platform->open(path.c_str());
        if (handle == USPLATFORM_INVALID_HANDLE)
            return platform->last_error();
        platform->close(handle);
        return 0;
    }

    std::vector<std::u16string> services(const usplatform_class_t &interface_class)
    {
        std::vector<std::u16string> result;
        const intptr_t set = platform->enumerate(&interface_class);
        for (uint32_t device = 0; platform->has_device(set, device) != 0; ++device) {
            char16_t name[127] = {};
            EXPECT_EQ(platform->service(set, device, name, sizeof(name)), 1);
            result.emplace_back(name);
        }
        platform->end_enumeration(set);
        return result;
    }

    virtualunit_t unit;
    const usplatform_t *platform;
    Bytes out;
    uint32_t returned = 0;
};

} // namespace

TEST_F(Platform, ListsAnotherMakersDeviceBeforeTheUnit)
{
    EXPECT_EQ(services(audio_class), (std::vector<std::u16string>{u"snd-usb-audio", u"kd-mx"}));
}

TEST_F(Platform, ListsNothingOfAnotherClass)
{
    for (uint32_t byte = 0; byte < sizeof(audio_class); ++byte) {
        usplatform_class_t other = audio_class;
        reinterpret_cast<uint8_t *>(&other)[byte] ^= 1;
        EXPECT_TRUE(services(other).empty()) << byte;
    }
}

TEST_F(Platform, ListsNoUnitThatIsNotPluggedIn)
{
    add_fault(VIRTUALUNIT_FAULT_UNPLUG, 0, 3);
    EXPECT_EQ(services(audio_class).size(), 2U); // it is pulled out during the next transfer
    EXPECT_EQ(error_of(read_of_a_block()), USPLATFORM_ERROR_NOT_CONNECTED);
    EXPECT_EQ(services(audio_class).size(), 1U);
    // A host that only looks sees it come back.
    EXPECT_EQ(services(audio_class).size(), 1U);
    EXPECT_EQ(services(audio_class).size(), 2U);
    EXPECT_EQ(unit.transfers, 3U);
}

TEST_F(Platform, WithoutAUnitThereIsTheOtherDevice)
{
    virtualplatform::with(nullptr, virtualplatform::Pauses::Counted);
    EXPECT_EQ(services(audio_class), std::vector<std::u16string>{u"snd-usb-audio"});
    EXPECT_EQ(open_error(control_path), USPLATFORM_ERROR_NOT_FOUND);
}

TEST_F(Platform, DescribesEachInterfaceWithinItsSizes)
{
    const intptr_t set = platform->enumerate(&audio_class);
    for (uint32_t device = 0; device < 2; ++device) {
        EXPECT_EQ(platform->has_interface(set, device, &audio_class, 0), 1);
        EXPECT_EQ(platform->has_interface(set, device, &audio_class, 1), 0);
        const uint32_t size = platform->detail_size(set, device, &audio_class, 0);
        ASSERT_GT(size, sizeof(usplatform_detail_t));
        Bytes record(size, 0xEE);
        auto *const detail = reinterpret_cast<usplatform_detail_t *>(record.data());
        detail->size = 0;
        EXPECT_EQ(platform->detail(set, device, &audio_class, 0, detail, size), 0);
        detail->size = sizeof(usplatform_detail_t);
        EXPECT_EQ(platform->detail(set, device, &audio_class, 0, detail, size - 1), 0);
        EXPECT_EQ(platform->detail(set, device, &audio_class, 0, detail, size), 1);
        std::u16string path((size - 4) / 2, u'?');
        std::memcpy(path.data(), record.data() + 4, size - 4);
        EXPECT_TRUE(path.ends_with(std::u16string(u"\\global") + u'\0'));
    }
    EXPECT_EQ(platform->has_interface(set, 2, &audio_class, 0), 0);
    EXPECT_EQ(platform->detail_size(set, 2, &audio_class, 0), 0U);
    platform->end_enumeration(set);
}

TEST_F(Platform, NamesAreNotWrittenPastTheirBuffers)
{
    const intptr_t set = platform->enumerate(&audio_class);
    char16_t text[32];
    std::fill_n(text, std::size(text), u'?');
    EXPECT_EQ(platform->service(set, 1, text, 5 * sizeof(char16_t)), 0); // "kd-mx" and its zero are 6
    EXPECT_EQ(platform->service(set, 1, text, 6 * sizeof(char16_t)), 1);
    EXPECT_EQ(text[5], u'\0');
    EXPECT_EQ(text[6], u'?');
    EXPECT_EQ(platform->instance_id(set, 1, text, 3), 0);
    EXPECT_EQ(platform->instance_id(set, 1, text, std::size(text)), 1);
    EXPECT_EQ(platform->service(set, 2, text, sizeof(text)), 0);
    EXPECT_EQ(platform->instance_id(set, 2, text, std::size(text)), 0);
    platform->end_enumeration(set);
}

TEST_F(Platform, OpensTheControlPathAndNoOther)
{
    EXPECT_EQ(open_error(control_path), 0U);
    for (size_t at = 0; at < control_path.size(); ++at) {
        std::u16string other = control_path;
        other[at] = static_cast<char16_t>(other[at] ^ 1);
        EXPECT_EQ(open_error(other), USPLATFORM_ERROR_NOT_FOUND) << at;
    }
    EXPECT_EQ(open_error(control_path + u"x"), USPLATFORM_ERROR_NOT_FOUND);
    EXPECT_EQ(open_error(control_path.substr(0, control_path.rfind(u'\\')) + u"\\global"), USPLATFORM_ERROR_NOT_FOUND);
    EXPECT_EQ(open_error(u""), USPLATFORM_ERROR_NOT_FOUND);
}

TEST_F(Platform, EveryHandleIsCounted)
{
    const intptr_t first = platform->open(control_path.c_str());
    const intptr_t second = platform->open(control_path.c_str());
    EXPECT_EQ(virtualplatform::open_handles(), 2U);
    platform->close(first);
    EXPECT_EQ(virtualplatform::open_handles(), 1U);
    platform->close(second);
}

TEST_F(Platform, OpeningMayBeDenied)
{
    virtualplatform::deny_access(USPLATFORM_ERROR_ACCESS_DENIED);
    EXPECT_EQ(open_error(control_path), USPLATFORM_ERROR_ACCESS_DENIED);
    EXPECT_EQ(services(audio_class).size(), 2U);
    virtualplatform::deny_access(0);
    EXPECT_EQ(open_error(control_path), 0U);
    virtualplatform::deny_access(USPLATFORM_ERROR_ACCESS_DENIED);
    virtualplatform::with(&unit, virtualplatform::Pauses::Counted);
    EXPECT_EQ(open_error(control_path), 0U);
    EXPECT_EQ(unit.transfers, 0U);
}

TEST_F(Platform, UnitThatIsGoneIsNotFoundUntilItIsBack)
{
    add_fault(VIRTUALUNIT_FAULT_UNPLUG, 1, 3);
    EXPECT_EQ(error_of(read_of_a_block()), 0U);
    EXPECT_EQ(error_of(read_of_a_block()), USPLATFORM_ERROR_NOT_CONNECTED);
    EXPECT_EQ(error_of(read_of_a_block()), USPLATFORM_ERROR_NOT_FOUND);
    EXPECT_EQ(error_of(write_of({0x31, 1, 0, 0})), USPLATFORM_ERROR_NOT_FOUND);
    EXPECT_EQ(error_of(read_of_a_block()), 0U);
    EXPECT_EQ(unit.transfers, 5U);
}

TEST_F(Platform, MovesMessagesAndBlocks)
{
    EXPECT_EQ(error_of(write_of({0x18, 1})), 0U);
    EXPECT_EQ(returned, 0U);
    EXPECT_EQ(error_of(read_of_a_block()), 0U);
    EXPECT_EQ(returned, 64U);
    Bytes expected = {0xA1, 2, 1, 0x18, 4, 0x80, 0xBB, 0, 0};
    expected.resize(64);
    EXPECT_EQ(out, expected);
}

TEST_F(Platform, TakesMessagesOfEveryLength)
{
    for (uint32_t length = 1; length <= 64; ++length)
        EXPECT_EQ(error_of(write_of(Bytes(length))), 0U) << length;
    EXPECT_EQ(error_of(write_of({})), USPLATFORM_ERROR_IO);
    EXPECT_EQ(error_of(write_of(Bytes(65))), USPLATFORM_ERROR_IO);
    EXPECT_EQ(unit.transfers, 64U);
}

TEST_F(Platform, AnyWrongByteOfARequestIsAnError)
{
    // The message itself begins after the header.
    for (size_t at = 0; at < 16; ++at) {
        Request request = write_of({0x18, 1, 0, 0});
        request.in[at] ^= 0x40;
        EXPECT_EQ(error_of(request), USPLATFORM_ERROR_IO) << at;
    }
    for (size_t at = 0; at < 20; ++at) {
        Request request = read_of_a_block();
        request.in[at] ^= 0x40;
        EXPECT_EQ(error_of(request), USPLATFORM_ERROR_IO) << at;
    }
    Request padded = write_of({0x18, 1});
    padded.in[19] = 1;
    EXPECT_EQ(error_of(padded), USPLATFORM_ERROR_IO);
    EXPECT_EQ(unit.transfers, 0U);
    EXPECT_EQ(returned, 0U);
}

TEST_F(Platform, AnyWrongSizeOrCodeIsAnError)
{
    for (const bool write : {true, false}) {
        const Request right = write ? write_of({0x18, 1, 0, 0, 0}) : read_of_a_block();
        for (size_t length = 0; length <= 90; ++length) {
            Request request = right;
            request.in.resize(length);
            EXPECT_EQ(error_of(request), length == right.in.size() ? 0U : USPLATFORM_ERROR_IO) << length;
        }
        for (uint32_t length = 0; length <= 90; ++length) {
            Request request = right;
            request.out_length = length;
            EXPECT_EQ(error_of(request), length == right.out_length ? 0U : USPLATFORM_ERROR_IO) << length;
        }
        Request request = right;
        request.code = 0x222004;
        EXPECT_EQ(error_of(request), USPLATFORM_ERROR_IO);
    }
    EXPECT_EQ(unit.transfers, 4U);
}

TEST_F(Platform, AHandleOfItsOwnOnly)
{
    const Request request = read_of_a_block();
    out.resize(64);
    EXPECT_EQ(platform->control(1, request.code, request.in.data(), 20, out.data(), 64, &returned), 0);
    EXPECT_EQ(platform->last_error(), USPLATFORM_ERROR_IO);
}

TEST_F(Platform, FaultsAreTheSystemsErrors)
{
    const struct
    {
        uint32_t fault;
        uint32_t error;
    } rows[] = {
        {VIRTUALUNIT_FAULT_STALL, USPLATFORM_ERROR_TRANSIENT},
        {VIRTUALUNIT_FAULT_LATE, USPLATFORM_ERROR_TRANSIENT},
        {VIRTUALUNIT_FAULT_HARD, USPLATFORM_ERROR_IO},
        {VIRTUALUNIT_FAULT_UNPLUG, USPLATFORM_ERROR_NOT_CONNECTED},
        {VIRTUALUNIT_FAULT_STALE, 0},
        {VIRTUALUNIT_FAULT_GARBLED, 0},
        {VIRTUALUNIT_FAULT_BUSY, 0},
        {VIRTUALUNIT_FAULT_MUTE, 0},
    };
    for (const auto &row : rows) {
        for (const Request &request : {write_of({0x18, 1}), read_of_a_block()}) {
            virtualunit_init(&unit);
            add_fault(row.fault);
            EXPECT_EQ(error_of(request), row.error) << row.fault;
        }
    }
}

TEST_F(Platform, ShortBlockIsASuccessWithItsLength)
{
    add_fault(VIRTUALUNIT_FAULT_SHORT, 0, 1, 20);
    EXPECT_EQ(error_of(read_of_a_block()), 0U);
    EXPECT_EQ(returned, 20U);
    EXPECT_EQ(out[2], 1);
    EXPECT_EQ(out[20], 0xEE);
}

TEST_F(Platform, ErrorTextsAreFormatsWithoutArguments)
{
    std::set<std::u16string> texts;
    for (const uint32_t code : {USPLATFORM_ERROR_NOT_FOUND, USPLATFORM_ERROR_ACCESS_DENIED, USPLATFORM_ERROR_TRANSIENT,
                                USPLATFORM_ERROR_CANCELLED, USPLATFORM_ERROR_IO, USPLATFORM_ERROR_NOT_CONNECTED}) {
        char16_t text[512];
        platform->error_text(code, text, std::size(text));
        const std::u16string whole = text;
        EXPECT_TRUE(whole.ends_with(u".\n")) << code;
        for (size_t at = whole.find(u'%'); at != std::u16string::npos; at = whole.find(u'%', at + 2))
            EXPECT_EQ(whole.substr(at, 2), u"%%") << code;
        texts.insert(whole);
        std::fill_n(text, std::size(text), u'?');
        platform->error_text(code, text, static_cast<uint32_t>(whole.size()));
        EXPECT_EQ(text[0], u'\0') << code;
        platform->error_text(code, text, static_cast<uint32_t>(whole.size() + 1));
        EXPECT_EQ(text, whole) << code;
        EXPECT_EQ(text[whole.size() + 1], u'?') << code;
    }
    EXPECT_EQ(texts.size(), 6U);
    char16_t text[8] = u"?";
    platform->error_text(12345, text, std::size(text));
    EXPECT_EQ(text[0], u'\0');
}

TEST_F(Platform, ErrorTextIsPrintedWithOnePercentSign)
{
    add_fault(VIRTUALUNIT_FAULT_LATE);
    EXPECT_EQ(error_of(read_of_a_block()), USPLATFORM_ERROR_TRANSIENT);
    EXPECT_EQ(printed([] { usdev_last_error(); }),
              "GetLastError() = 0x1f\nThe unit did not respond, though 100 % of its time was up.\n");
}

TEST_F(Platform, MemoryIsZeroed)
{
    auto *const memory = static_cast<uint8_t *>(platform->allocate(80));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(Bytes(memory, memory + 80), Bytes(80));
    platform->release(memory);
}

TEST_F(Platform, PausesAreCountedAndNotWaited)
{
    const auto before = std::chrono::steady_clock::now();
    platform->sleep(3'600'000);
    platform->sleep(10);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::minutes(30));
    EXPECT_EQ(virtualplatform::slept_ms(), 3'600'010U);
    EXPECT_EQ(virtualplatform::pauses(), 2U);
    virtualplatform::with(&unit, virtualplatform::Pauses::Counted);
    EXPECT_EQ(virtualplatform::slept_ms(), 0U);
    EXPECT_EQ(virtualplatform::pauses(), 0U);
}

TEST_F(Platform, RealPausesTakeTheirTime)
{
    virtualplatform::with(&unit, virtualplatform::Pauses::Real);
    const auto before = std::chrono::steady_clock::now();
    platform->sleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(20));
    EXPECT_EQ(virtualplatform::slept_ms(), 20U);
}

TEST_F(Platform, TheLinkFindsTheUnit)
{
    usdev_list_t list = {};
    usdev_t *device = nullptr;
    usdev_list_init(&list);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_list_next(&list, &device), 0); }), "");
    ASSERT_NE(device, nullptr);
    uint8_t block[64];
    EXPECT_EQ(printed([&] { EXPECT_EQ(usdev_read(device, USDEV_REQ_READ, 0, 0, 64, block), 0); }), "");
    EXPECT_EQ(unit.transfers, 1U);
}
