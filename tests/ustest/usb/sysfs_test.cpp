#include "usbpath_linux.h"
#include "usbsysfs_linux.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

// What the platform reads of the system's list of USB devices, on folders that look like it.

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

/// A folder of USB devices; empty at first, gone at the end.
class Sysfs : public testing::Test
{
protected:
    Sysfs()
    {
        std::string pattern = testing::TempDir() + "kdmx-sysfs-XXXXXX";
        root = ::mkdtemp(pattern.data());
        fs::create_directory(devices());
    }
    ~Sysfs() override { fs::remove_all(root); }

    std::string devices() const { return root + "/devices"; }

    void write(const std::string &file, const std::string &content) const
    {
        fs::create_directories(fs::path(devices() + '/' + file).parent_path());
        std::ofstream(devices() + '/' + file) << content;
    }

    /// An interface; class "" leaves the file away, driver "" the link.
    void add_interface(const std::string &name, const std::string &interface_class, const std::string &driver) const
    {
        fs::create_directories(devices() + '/' + name);
        if (!interface_class.empty())
            write(name + "/bInterfaceClass", interface_class + '\n');
        if (!driver.empty())
            fs::create_symlink("../../drivers/" + driver, devices() + '/' + name + "/driver");
    }

    /// A device with one audio interface.
    void add_audio(const std::string &name, const std::string &manufacturer, const std::string &product) const
    {
        add_device(name, manufacturer, product);
        add_interface(name + ":1.0", "01", "snd-usb-audio");
    }

    void add_device(const std::string &name, const std::string &manufacturer, const std::string &product) const
    {
        write(name + "/manufacturer", manufacturer + '\n');
        write(name + "/product", product + '\n');
        write(name + "/busnum", "1\n");
        write(name + "/devnum", "7\n");
    }

    std::vector<usbsysfs::Device> scan() const { return usbsysfs::audio_devices(devices()).value(); }

    Names found() const
    {
        Names names;
        for (const usbsysfs::Device &device : scan())
            names.push_back(device.name);
        return names;
    }

    /// Service names in the order of the devices.
    Names services() const
    {
        Names names;
        for (const usbsysfs::Device &device : scan())
            names.push_back(usbsysfs::service_name(device));
        return names;
    }

    std::string root;
};

TEST_F(Sysfs, hasNoDevicesWithoutTheFolder)
{
    fs::remove_all(devices());
    ASSERT_TRUE(usbsysfs::audio_devices(devices()).has_value());
    EXPECT_EQ(found(), Names());
}

TEST_F(Sysfs, tellsAFolderThatCannotBeRead)
{
    fs::remove_all(devices());
    std::ofstream(devices()) << "a file in its place";
    EXPECT_FALSE(usbsysfs::audio_devices(devices()).has_value());
}

TEST_F(Sysfs, sortsByBusAndPortsAsNumbers)
{
    for (const char *name : {"10-1", "2-1", "1-10", "1-2.10", "1-2", "1-2.1", "1-2.1.4", "1-2.2", "1-1"})
        add_audio(name, "Example", "Headset");
    EXPECT_EQ(found(), (Names{"1-1", "1-2", "1-2.1", "1-2.1.4", "1-2.2", "1-2.10", "1-10", "2-1", "10-1"}));
}

TEST_F(Sysfs, leavesOutHubsAndWhatIsNoDevice)
{
    add_audio("1-1", "Example", "Headset");
    add_device("usb1", "Linux", "Root Hub");
    add_interface("1-0:1.0", "09", "hub");
    add_device("1-3", "Example", "Hub");
    add_interface("1-3:1.0", "09", "hub");
    // Audio interfaces without a device, and names that only begin well.
    add_interface("1-9:1.0", "01", "snd-usb-audio");
    for (const char *name : {"1-", "-1", "1-1.", "1-.1", "1-a", "1", "x1-1", "1--1", "1-1.1x", "1-1-1"})
        add_audio(name, "VELMAR", "KD-MX2");
    EXPECT_EQ(found(), Names{"1-1"});
}

TEST_F(Sysfs, leavesOutDevicesWithoutAnAudioInterface)
{
    add_device("1-1", "VELMAR", "KD-MX2");
    add_device("1-2", "VELMAR", "KD-MX2");
    add_interface("1-2:1.0", "ff", "");
    add_device("1-3", "VELMAR", "KD-MX2");
    add_interface("1-3:1.0", "", "snd-usb-audio");
    EXPECT_EQ(found(), Names());
}

TEST_F(Sysfs, keepsTheInterfacesOfOtherDevicesApart)
{
    add_device("1-1", "VELMAR", "KD-MX2");
    add_audio("1-1.1", "Example", "Headset");
    add_audio("1-11", "Example", "Headset");
    EXPECT_EQ(found(), (Names{"1-1.1", "1-11"}));
}

TEST_F(Sysfs, readsTheTextsAsTheyAre)
{
    add_audio("1-1", " Example ", "Klangk\xC3\xB6rper");
    const usbsysfs::Device device = scan().front();
    EXPECT_EQ(device.manufacturer, " Example ");
    EXPECT_EQ(device.product, "Klangk\xC3\xB6rper");
    EXPECT_EQ(device.driver, "snd-usb-audio");
}

TEST_F(Sysfs, takesTheDriverOfTheFirstAudioInterface)
{
    add_device("1-1", "Example", "Headset");
    add_interface("1-1:1.10", "01", "third");
    add_interface("1-1:1.0", "03", "keys");
    add_interface("1-1:1.9", "01", "second");
    add_interface("1-1:1.2", "01", "first");
    EXPECT_EQ(services(), Names{"first"});
}

TEST_F(Sysfs, readsDevicesThatLackFiles)
{
    fs::create_directories(devices() + "/1-1");
    add_interface("1-1:1.0", "01", "");
    ASSERT_EQ(found(), Names{"1-1"});
    const usbsysfs::Device device = scan().front();
    EXPECT_EQ(device.manufacturer, "");
    EXPECT_EQ(device.product, "");
    EXPECT_EQ(services(), Names{""});
}

TEST_F(Sysfs, knowsTheUnitsOfTheSeriesByTheirTexts)
{
    add_audio("1-1", "VELMAR", "KD-MX2");
    add_audio("1-2", "VELMAR", "KD-MX4 (old)");
    add_audio("1-3", "VELMAR", "KD-MX");
    EXPECT_EQ(services(), (Names{"kd-mx", "kd-mx", "kd-mx"}));
}

TEST_F(Sysfs, knowsAUnitWithoutADriver)
{
    add_device("1-1", "VELMAR", "KD-MX2");
    add_interface("1-1:1.0", "01", "");
    EXPECT_EQ(services(), Names{"kd-mx"});
}

TEST_F(Sysfs, takesNoOtherTextsForThoseOfTheSeries)
{
    add_audio("1-1", "Velmar", "KD-MX2");
    add_audio("1-2", "VELMAR ", "KD-MX2");
    add_audio("1-3", "VELMAR", "kd-mx2");
    add_audio("1-4", "VELMAR", "A KD-MX2");
    add_audio("1-5", "VELMAR", "KD-M");
    add_audio("1-6", "KD-MX2", "VELMAR");
    EXPECT_EQ(services(), Names(6, "snd-usb-audio"));
}

TEST_F(Sysfs, givesTheAddressOfAUnitAsItIsNow)
{
    add_audio("1-1", "VELMAR", "KD-MX2");
    write("1-1/busnum", "3\n");
    write("1-1/devnum", "41\n");
    const std::optional<usbsysfs::Address> address = usbsysfs::unit_address(devices(), "1-1");
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(usbsysfs::node(*address), "/dev/bus/usb/003/041");
    write("1-1/devnum", "127\n");
    EXPECT_EQ(usbsysfs::node(*usbsysfs::unit_address(devices(), "1-1")), "/dev/bus/usb/003/127");
}

TEST_F(Sysfs, givesNoAddressOfAnythingElse)
{
    EXPECT_FALSE(usbsysfs::unit_address(devices(), "1-1").has_value());
    add_audio("1-1", "Example", "Headset");
    EXPECT_FALSE(usbsysfs::unit_address(devices(), "1-1").has_value()) << "another device took the unit's place";
    for (const char *number : {"", "\n", "x\n", "-1\n", "1 2\n", "99999999999\n"}) {
        add_audio("1-2", "VELMAR", "KD-MX2");
        write("1-2/devnum", number);
        EXPECT_FALSE(usbsysfs::unit_address(devices(), "1-2").has_value()) << number;
        fs::remove_all(devices() + "/1-2:1.0");
    }
}

TEST(UsbPath, comesBackFromThePathThatTheLinkOpens)
{
    for (const char *name : {"1-1", "12-3.45.6", "255-1.2.3.4.5.6.7"}) {
        // What the link does with the path of an interface: its last part is replaced.
        std::u16string path = usbpath::interface_path(name);
        path.resize(path.rfind(u'\\'));
        path += u"\\kd-mx";
        EXPECT_EQ(usbpath::device_of_control_path(path), name);
    }
}

TEST(UsbPath, endsInTheReferenceString)
{
    EXPECT_EQ(usbpath::interface_path("1-2.1"), u"usb:1-2.1\\global");
    EXPECT_EQ(usbpath::instance("1-2.1"), u"usb:1-2.1");
}

TEST(UsbPath, takesNoOtherPathForAControlPath)
{
    for (const std::u16string_view path :
         {u"", u"\\kd-mx", u"usb:\\kd-mx", u"usb:1-1", u"usb:1-1\\global", u"usb:1-1\\KD-MX", u"USB:1-1\\kd-mx",
          u"usb:1-1\\global\\kd-mx", u"usb:1-1:1.0\\kd-mx", u"usb:usb1\\kd-mx", u"usb:/1-1\\kd-mx",
          u"usb:../1-1\\kd-mx", u"usb:1-1/\\kd-mx", u"usb:\u01311-1\\kd-mx", u"usb:1-\u0131\\kd-mx"})
        EXPECT_EQ(usbpath::device_of_control_path(path), std::nullopt) << std::string(path.begin(), path.end());
}

TEST(UsbPath, readsNamesOfInterfaces)
{
    EXPECT_EQ(usbpath::device_of_interface("1-2.1:1.0"), "1-2.1");
    EXPECT_EQ(usbpath::interface_number("1-2.1:1.12"), 12U);
    for (const char *name : {"", "1-2", "usb1", "1-2:", "1-2:1", "1-2:1.", "1-2:.0", "1-2:1.x", ":1.0", "usb1:1.0"}) {
        EXPECT_EQ(usbpath::interface_number(name), std::nullopt) << name;
        EXPECT_EQ(usbpath::device_of_interface(name), "") << name;
    }
}

} // namespace
