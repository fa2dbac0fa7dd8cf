#include "driverscene.h"

#include "printed.h"
#include "virtualscript.h"

#include <windows.h>

#include <array>
#include <cstdlib>

namespace {

constexpr uint32_t first_unit = 0;

std::wstring driver_folder()
{
    const wchar_t *const folder = _wgetenv(L"KDMX_DRIVER");
    return folder == nullptr ? std::wstring() : folder;
}

void write_unit(uint32_t number, std::string_view script)
{
    virtualunit_t unit;
    virtualunit_init(&unit);
    std::string error;
    ASSERT_TRUE(virtualscript::apply(script, &unit, &error)) << error;
    const UnitAccess access(number);
    ASSERT_TRUE(access.is_open()) << number;
    ASSERT_TRUE(access.hold(false));
    ASSERT_TRUE(access.write(unit));
}

} // namespace

void DriverScene::SetUp()
{
    if (unitinstaller::service(first_unit) != L"kd-mx")
        plug(first_unit);
    script("");
    ASSERT_EQ(find(), 0);
}

void DriverScene::TearDown()
{
    for (const uint32_t number : unitinstaller::installed()) {
        if (number != first_unit)
            unplug(number);
    }
}

void DriverScene::plug(uint32_t number, unitinstaller::Variant variant, std::string_view script)
{
    std::string error;
    ASSERT_TRUE(unitinstaller::install(driver_folder(), number, variant, &error)) << error;
    write_unit(number, script);
}

void DriverScene::unplug(uint32_t number)
{
    std::string error;
    ASSERT_TRUE(unitinstaller::remove(number, &error)) << error;
}

void DriverScene::script(std::string_view text)
{
    write_unit(first_unit, text);
}

unitcontrol_state_t DriverScene::state(uint32_t number)
{
    unitcontrol_state_t state = {};
    const UnitAccess access(number);
    EXPECT_TRUE(access.read(&state)) << number;
    return state;
}

int DriverScene::find()
{
    unit = nullptr;
    usdev_list_init(&list);
    return usdev_list_next(&list, &unit);
}

int DriverScene::read()
{
    return usdev_read(unit, USDEV_REQ_READ, 0, 0, sizeof(block), block);
}

int DriverScene::write()
{
    constexpr uint8_t message[] = {0x15, 2, 0, 0, 0};
    return usdev_write(unit, USDEV_REQ_WRITE, 0, 0, sizeof(message), message);
}

std::string DriverScene::path() const
{
    const std::u16string_view text = list.slots[0].path;
    return {text.begin(), text.end()};
}

std::string lines_of(const std::function<void()> &call)
{
    std::string text = printed(call);
    std::erase(text, '\r');
    return text;
}

std::string error_lines(uint32_t code)
{
    std::array<wchar_t, 512> text = {};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text.data(),
                   static_cast<DWORD>(text.size()), nullptr);
    std::array<char, 1024> bytes = {};
    WideCharToMultiByte(CP_UTF8, 0, text.data(), -1, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    EXPECT_NE(bytes[0], '\0') << "the system has no text for " << code;
    std::array<char, 40> head = {};
    std::snprintf(head.data(), head.size(), "GetLastError() = %#x\n", code);
    std::string lines = head.data() + std::string(bytes.data());
    std::erase(lines, '\r');
    return lines;
}
