#include "usbdevs_win.h"
#include "userrortext_linux.h"
#include "usplatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <string>
#include <sys/time.h>

// What the Linux platform does without a device.

namespace {

std::u16string as_format(const char *text, uint32_t units)
{
    std::u16string copy(units, u'x');
    userrortext::copy_as_format(text, copy.data(), units);
    return copy.substr(0, copy.find(u'\0'));
}

TEST(LinuxPlatform, isTheDefault)
{
    EXPECT_EQ(usplatform(), &usplatform_default);
    EXPECT_EQ(usplatform()->start(), 0);
}

TEST(LinuxPlatform, givesZeroedMemoryThatCanBeUsedWhole)
{
    for (const uint32_t size : {1U, 20U, 80U, 4096U, 70000U}) {
        auto *const memory = static_cast<uint8_t *>(usplatform()->allocate(size));
        ASSERT_NE(memory, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % alignof(std::max_align_t), 0U);
        EXPECT_TRUE(std::all_of(memory, memory + size, [](uint8_t byte) { return byte == 0; }));
        std::memset(memory, 0xFF, size);
        usplatform()->release(memory);
    }
    usplatform()->release(nullptr);
}

TEST(LinuxPlatform, sleepsOnAfterSignals)
{
    std::signal(SIGALRM, [](int) {});
    constexpr itimerval each_five_ms = {{0, 5000}, {0, 5000}};
    constexpr itimerval never = {};
    ::setitimer(ITIMER_REAL, &each_five_ms, nullptr);
    const auto begin = std::chrono::steady_clock::now();
    usplatform()->sleep(60);
    const auto slept = std::chrono::steady_clock::now() - begin;
    ::setitimer(ITIMER_REAL, &never, nullptr);
    std::signal(SIGALRM, SIG_DFL);
    EXPECT_GE(slept, std::chrono::milliseconds(60));
}

TEST(LinuxPlatform, findsNoDeviceAtPathsOfNone)
{
    EXPECT_EQ(usplatform()->open(u"usb:999-999\\kd-mx"), USPLATFORM_INVALID_HANDLE);
    EXPECT_EQ(usplatform()->last_error(), USPLATFORM_ERROR_NOT_FOUND);
}

TEST(LinuxPlatform, hasATextForEachError)
{
    for (const uint32_t code : {USPLATFORM_ERROR_NOT_FOUND, USPLATFORM_ERROR_ACCESS_DENIED, USPLATFORM_ERROR_TRANSIENT,
                                USPLATFORM_ERROR_CANCELLED, USPLATFORM_ERROR_IO, USPLATFORM_ERROR_NOT_CONNECTED}) {
        char16_t text[128] = {};
        usplatform()->error_text(code, text, 128);
        EXPECT_EQ(std::u16string_view(text).back(), u'\n') << code;
        EXPECT_NE(userrortext::of(code), userrortext::of(0xFFFF)) << code;
    }
}

TEST(LinuxPlatform, cutsTextsToTheirRoom)
{
    char16_t text[4] = {u'x', u'x', u'x', u'x'};
    usplatform()->error_text(USPLATFORM_ERROR_NOT_FOUND, text, 3);
    EXPECT_EQ(std::u16string_view(text), u"Th");
    EXPECT_EQ(text[3], u'x');
}

TEST(LinuxErrorTexts, doublePercentSigns)
{
    EXPECT_EQ(as_format("100% of %s", 32), u"100%% of %%s");
    EXPECT_EQ(as_format("%", 3), u"%%");
}

TEST(LinuxErrorTexts, cutNoPairOfPercentSigns)
{
    EXPECT_EQ(as_format("%", 2), u"");
    EXPECT_EQ(as_format("a%b", 3), u"a");
    EXPECT_EQ(as_format("a%b", 4), u"a%%");
    EXPECT_EQ(as_format("a", 1), u"");
}

} // namespace
