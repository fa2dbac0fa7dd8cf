#include "driverscene.h"

#include "usctl.h"
#include "usplatform.h"

#include <array>
#include <string>

// Which unit the link finds among the devices of the system.

namespace {

using unitinstaller::Variant;

constexpr usplatform_class_t audio_class = {
    0x65E8773E, 0x8F56, 0x11D0, {0xA3, 0xB9, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};
constexpr usplatform_class_t header_class = {
    0x6994AD04, 0x93EF, 0x11D0, {0xA3, 0xCC, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

constexpr const char *first_path = R"(\\?\root#kd-mx#0#{65e8773e-8f56-11d0-a3b9-00a0c9223196}\global)";
constexpr const char *second_path = R"(\\?\root#kd-mx#1#{65e8773e-8f56-11d0-a3b9-00a0c9223196}\global)";

std::string narrow(std::u16string_view text)
{
    return {text.begin(), text.end()};
}

/// The devices of a class as the system tells them, "SERVICE INSTANCE INTERFACES", one a line.
std::string devices_of(const usplatform_class_t &interface_class)
{
    const usplatform_t &system = usplatform_default;
    const intptr_t set = system.enumerate(&interface_class);
    EXPECT_NE(set, USPLATFORM_INVALID_HANDLE);
    std::string lines;
    for (uint32_t device = 0; system.has_device(set, device) != 0; ++device) {
        std::array<char16_t, 128> service = {};
        std::array<char16_t, 128> instance = {};
        EXPECT_EQ(system.service(set, device, service.data(), sizeof(service)), 1);
        EXPECT_EQ(system.instance_id(set, device, instance.data(), instance.size()), 1);
        uint32_t interfaces = 0;
        while (system.has_interface(set, device, &interface_class, interfaces) != 0)
            ++interfaces;
        lines += narrow(service.data()) + " " + narrow(instance.data()) + " " + std::to_string(interfaces) + "\n";
    }
    system.end_enumeration(set);
    return lines;
}

class DriverDiscovery : public DriverScene
{
protected:
    /// Looks for a service by its name; the path, empty when there is none.
    static std::string path_of(const char16_t *service)
    {
        std::array<char16_t, USDEV_PATH_UNITS> found = {};
        int status = -1;
        const int is_found = usdev_find(service, found.data(), USDEV_PATH_UNITS, &status);
        EXPECT_EQ(status, is_found == 1 ? 0 : -1);
        return narrow(found.data());
    }
};

} // namespace

TEST_F(DriverDiscovery, TheSystemTellsServiceInstanceAndInterface)
{
    EXPECT_EQ(devices_of(audio_class), "kd-mx ROOT\\KD-MX\\0 1\n");
    EXPECT_EQ(devices_of(header_class), "");
}

TEST_F(DriverDiscovery, TheUnitIsFoundByItsService)
{
    EXPECT_EQ(path(), first_path);
    EXPECT_EQ(unit, &list.slots[0]);
    EXPECT_EQ(list.scan_index, 1);
    EXPECT_EQ(path_of(u"kd-m"), "");
    EXPECT_EQ(path_of(u"kd-mx2"), "");
}

TEST_F(DriverDiscovery, BothReferenceStringsOpen)
{
    for (const char16_t *const reference : {u"global", u"kd-mx"}) {
        const std::u16string whole(list.slots[0].path);
        const std::u16string opened = whole.substr(0, whole.rfind(u'\\') + 1) + reference;
        const intptr_t handle = usplatform_default.open(opened.c_str());
        EXPECT_NE(handle, USPLATFORM_INVALID_HANDLE) << narrow(opened);
        usplatform_default.close(handle);
    }
}

TEST_F(DriverDiscovery, OfTwoUnitsTheLastOneIsUsed)
{
    ASSERT_NO_FATAL_FAILURE(plug(1, Variant::Unit, "hz=96000"));
    EXPECT_EQ(devices_of(audio_class), "kd-mx ROOT\\KD-MX\\0 1\nkd-mx ROOT\\KD-MX\\1 1\n");
    ASSERT_EQ(find(), 0);
    EXPECT_EQ(path(), second_path);
    uint32_t hz = 0;
    EXPECT_EQ(usctl_get_hz(&unit, &hz), 0);
    EXPECT_EQ(hz, 96000U);
    EXPECT_EQ(state(0).unit.transfers, 0U);
    EXPECT_EQ(state(1).unit.transfers, 3U);
}

TEST_F(DriverDiscovery, AServiceInOtherLettersIsNone)
{
    ASSERT_NO_FATAL_FAILURE(plug(1, Variant::OtherLetters));
    EXPECT_EQ(devices_of(audio_class), "kd-mx ROOT\\KD-MX\\0 1\nKD-MX ROOT\\KD-MX\\1 1\n");
    ASSERT_EQ(find(), 0);
    EXPECT_EQ(path(), first_path);
    // The other one stands last and would be used.
    EXPECT_EQ(path_of(u"KD-MX"), second_path);
}

TEST_F(DriverDiscovery, WithoutAnotherUnitThatIsNoUnitAtAll)
{
    ASSERT_NO_FATAL_FAILURE(unplug(0));
    ASSERT_NO_FATAL_FAILURE(plug(1, Variant::OtherLetters));
    EXPECT_EQ(find(), 1);
    EXPECT_EQ(list.scan_index, 10);
    EXPECT_EQ(usdev_list_next(&list, &unit), 1);
    EXPECT_EQ(unit, nullptr);
    EXPECT_EQ(path_of(u"KD-MX"), second_path);
}

TEST_F(DriverDiscovery, AnInterfaceOfTheHeadersCategoryIsNone)
{
    ASSERT_NO_FATAL_FAILURE(unplug(0));
    ASSERT_NO_FATAL_FAILURE(plug(1, Variant::HeaderCategory));
    EXPECT_EQ(devices_of(audio_class), "");
    EXPECT_EQ(devices_of(header_class), "kd-mx ROOT\\KD-MX\\1 1\n");
    EXPECT_EQ(find(), 1);
    EXPECT_EQ(list.scan_index, 10);
}

TEST_F(DriverDiscovery, AUnitThatIsPulledOutIsGoneAndComesBack)
{
    ASSERT_NO_FATAL_FAILURE(unplug(0));
    const std::string lines = lines_of([&] {
        EXPECT_EQ(read(), 1);
        EXPECT_EQ(write(), 1);
    });
    const std::string opening = error_lines(2) + "ERROR : #\n";
    // A read leaves it at what the opening prints.
    EXPECT_EQ(lines, opening + opening + "../../ustest/usbdevs_win.cpp:#:ERROR\n");
    EXPECT_EQ(find(), 1);

    ASSERT_NO_FATAL_FAILURE(plug(0));
    ASSERT_EQ(find(), 0);
    EXPECT_EQ(read(), 0);
}
