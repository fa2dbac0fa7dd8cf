#include "usbsysfs_linux.h"

#include "usbpath_linux.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <unistd.h>

namespace usbsysfs {

namespace {

constexpr const char *unit_service = "kd-mx";
constexpr const char *unit_manufacturer = "VELMAR";
constexpr const char *unit_product_prefix = "KD-MX";

constexpr const char *audio_class = "01";

// The longest text of a USB device, 126 units of up to three bytes, with room to spare.
constexpr size_t longest_attribute = 512;

/// The first audio interface of each device: its number and its name, by the name of the device.
using AudioInterfaces = std::map<std::string, std::pair<uint32_t, std::string>, std::less<>>;

/// The text of an attribute without the line end that the system adds; empty when there is none.
std::string attribute(const std::string &folder, const std::string &device, const char *name)
{
    const int file = ::open((folder + '/' + device + '/' + name).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return {};
    char text[longest_attribute];
    const ssize_t length = ::read(file, text, sizeof(text));
    ::close(file);
    if (length <= 0)
        return {};
    std::string value(text, static_cast<size_t>(length));
    if (value.ends_with('\n'))
        value.pop_back();
    return value;
}

/// Name of the driver that is bound to an interface: the last part of what its link leads to.
std::string bound_driver(const std::string &folder, const std::string &interface)
{
    char target[longest_attribute];
    const ssize_t length = ::readlink((folder + '/' + interface + "/driver").c_str(), target, sizeof(target));
    if (length <= 0 || static_cast<size_t>(length) == sizeof(target))
        return {};
    const std::string path(target, static_cast<size_t>(length));
    return path.substr(path.rfind('/') + 1);
}

std::optional<std::vector<std::string>> entries(const std::string &folder)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> open_folder(::opendir(folder.c_str()), ::closedir);
    if (!open_folder)
        return errno == ENOENT ? std::optional<std::vector<std::string>>(std::in_place) : std::nullopt;
    std::vector<std::string> names;
    while (const dirent *entry = ::readdir(open_folder.get()))
        names.emplace_back(entry->d_name);
    return names;
}

AudioInterfaces audio_interfaces(const std::string &folder, const std::vector<std::string> &names)
{
    AudioInterfaces first;
    for (const std::string &name : names) {
        const std::optional<uint32_t> number = usbpath::interface_number(name);
        if (!number || attribute(folder, name, "bInterfaceClass") != audio_class)
            continue;
        const std::pair interface(*number, name);
        const auto [known, added] = first.try_emplace(std::string(usbpath::device_of_interface(name)), interface);
        if (!added)
            known->second = std::min(known->second, interface);
    }
    return first;
}

Device read_device(const std::string &folder, const std::string &name)
{
    return {name, attribute(folder, name, "manufacturer"), attribute(folder, name, "product"), {}};
}

bool is_unit(const Device &device)
{
    return device.manufacturer == unit_manufacturer && device.product.starts_with(unit_product_prefix);
}

} // namespace

std::optional<std::vector<Device>> audio_devices(const std::string &folder)
{
    const std::optional<std::vector<std::string>> names = entries(folder);
    if (!names)
        return std::nullopt;
    const AudioInterfaces interfaces = audio_interfaces(folder, *names);
    std::map<usbpath::Place, Device> found;
    for (const std::string &name : *names) {
        const std::optional<usbpath::Place> place = usbpath::place(name);
        const auto interface = interfaces.find(name);
        if (!place || interface == interfaces.end())
            continue;
        Device device = read_device(folder, name);
        device.driver = bound_driver(folder, interface->second.second);
        found.emplace(*place, std::move(device));
    }
    std::vector<Device> devices;
    devices.reserve(found.size());
    for (auto &[place, device] : found)
        devices.push_back(std::move(device));
    return devices;
}

std::string service_name(const Device &device)
{
    return is_unit(device) ? unit_service : device.driver;
}

std::optional<Address> unit_address(const std::string &folder, const std::string &name)
{
    // Another device may have taken the place since the scan.
    if (!is_unit(read_device(folder, name)))
        return std::nullopt;
    const std::optional<uint32_t> bus = usbpath::number(attribute(folder, name, "busnum"));
    const std::optional<uint32_t> device = usbpath::number(attribute(folder, name, "devnum"));
    if (!bus || !device)
        return std::nullopt;
    return Address{*bus, *device};
}

std::string node(const Address &address)
{
    char path[64];
    std::snprintf(path, sizeof(path), "/dev/bus/usb/%03u/%03u", address.bus, address.device);
    return path;
}

} // namespace usbsysfs
