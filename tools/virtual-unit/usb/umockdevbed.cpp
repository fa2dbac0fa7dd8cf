#include "umockdevbed.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <span>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr const char *bus_folder = "/devices/platform/virtual-bus/usb1";
constexpr const char *bus_name = "usb1";
constexpr const char *sound_driver = "snd-usb-audio";

constexpr uint8_t interface_descriptor_type = 4;
constexpr size_t interface_descriptor_size = 9;
constexpr uint8_t audio_class = 1;
constexpr uint8_t hub_class = 9;

// Nodes of USB devices have this major number; the minor number counts devices, 128 to a bus.
constexpr unsigned usb_major = 189;

std::string format(const char *pattern, unsigned number)
{
    char text[64];
    std::snprintf(text, sizeof(text), pattern, number);
    return text;
}

std::string hex(std::span<const uint8_t> bytes)
{
    std::string digits;
    for (const uint8_t byte : bytes)
        digits += format("%02X", byte);
    return digits;
}

/// Folder of a device: hubs hold what is plugged into them.
std::string folder_of(const std::string &name)
{
    std::string folder = bus_folder;
    for (size_t dot = name.find('.'); dot != std::string::npos; dot = name.find('.', dot + 1))
        folder += '/' + name.substr(0, dot);
    return folder + '/' + name;
}

std::vector<uint8_t> descriptors_of(const virtualusb::Device &device)
{
    std::vector<uint8_t> bytes = device.device_descriptor();
    bytes.insert(bytes.end(), device.configuration_descriptor().begin(), device.configuration_descriptor().end());
    return bytes;
}

/// The class of each interface of a configuration, by number.
std::map<uint8_t, uint8_t> interfaces_of(std::span<const uint8_t> configuration)
{
    std::map<uint8_t, uint8_t> classes;
    while (!configuration.empty() && configuration[0] <= configuration.size() && configuration[0] != 0) {
        const std::span<const uint8_t> descriptor = configuration.first(configuration[0]);
        if (descriptor.size() >= interface_descriptor_size && descriptor[1] == interface_descriptor_type)
            classes.emplace(descriptor[2], descriptor[5]);
        configuration = configuration.subspan(descriptor.size());
    }
    return classes;
}

std::string interface_folder(const UmockdevBed::Place &place, unsigned number)
{
    return folder_of(place.name) + '/' + place.name + format(":1.%u", number);
}

std::string interface_text(const std::string &folder, unsigned number, unsigned interface_class)
{
    std::string text = "P: " + folder + "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_interface\n";
    text += format("A: bInterfaceNumber=%02x\\n\n", number);
    text += format("A: bInterfaceClass=%02x\\n\n", interface_class);
    if (interface_class == audio_class)
        text += std::string("L: driver=/sys/bus/usb/drivers/") + sound_driver + '\n';
    return text + '\n';
}

/// The files that every device has, a hub and the bus included.
std::string device_text(const std::string &folder, unsigned address, const std::string &node_content)
{
    std::string text = "P: " + folder + '\n';
    text += format("N: bus/usb/001/%03u", address) + (node_content.empty() ? "" : '=' + node_content) + '\n';
    text += format("E: DEVNAME=/dev/bus/usb/001/%03u\n", address);
    text += "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: BUSNUM=001\n";
    text += format("E: DEVNUM=%03u\n", address) + format("E: MAJOR=%u\n", usb_major);
    text += format("E: MINOR=%u\n", address - 1);
    text += "A: busnum=1\\n\nA: speed=480\\n\nA: bConfigurationValue=1\\n\n";
    return text + format("A: devnum=%u\\n\n", address);
}

std::string description_text(const virtualusb::Description &description)
{
    return "A: manufacturer=" + description.manufacturer + "\\n\nA: product=" + description.product
        + "\\n\nA: serial=" + description.serial + "\\n\n" + format("A: idVendor=%04x\\n\n", description.vendor_id)
        + format("A: idProduct=%04x\\n\n", description.product_id);
}

} // namespace

UmockdevBed::UmockdevBed()
    : m_testbed(umockdev_testbed_new())
{
    add_from(device_text(bus_folder, 1, {}) + '\n'
             + interface_text(std::string(bus_folder) + "/1-0:1.0", 0, hub_class));
}

void UmockdevBed::add(const Place &place, const virtualusb::Device &device)
{
    const std::string descriptors = hex(descriptors_of(device));
    std::string text = device_text(folder_of(place.name), place.address, descriptors)
        + description_text(device.description()) + "H: descriptors=" + descriptors + "\n\n";
    for (const auto &[number, interface_class] : interfaces_of(device.configuration_descriptor()))
        text += interface_text(interface_folder(place, number), number, interface_class);
    add_from(text);
}

void UmockdevBed::add_hub(const Place &place)
{
    add_from(device_text(folder_of(place.name), place.address, {}) + "A: product=Hub\\n\n\n"
             + interface_text(interface_folder(place, 0), 0, hub_class));
}

void UmockdevBed::remove(const Place &place, const virtualusb::Device &device)
{
    for (const auto &[number, interface_class] : interfaces_of(device.configuration_descriptor()))
        umockdev_testbed_remove_device(testbed(), ("/sys" + interface_folder(place, number)).c_str());
    umockdev_testbed_remove_device(testbed(), ("/sys" + folder_of(place.name)).c_str());
}

void UmockdevBed::set_mode(const Place &place, unsigned mode)
{
    const std::unique_ptr<char, decltype(&g_free)> root(umockdev_testbed_get_root_dir(testbed()), g_free);
    ::chmod((root.get() + node(place)).c_str(), mode);
}

std::string UmockdevBed::node(const Place &place)
{
    return format("/dev/bus/usb/001/%03u", place.address);
}

void UmockdevBed::add_from(const std::string &text)
{
    GError *error = nullptr;
    if (umockdev_testbed_add_from_string(testbed(), text.c_str(), &error) != FALSE)
        return;
    // The texts are made here: one that is not understood is a mistake in this file.
    std::fprintf(stderr, "The test bed refuses a device: %s\n%s", error->message, text.c_str());
    std::abort();
}
