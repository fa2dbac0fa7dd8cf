#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/**
 * What the system says about USB devices in sysfs. Nothing here opens a device: reading about one neither wakes it nor
 * needs the right to use it.
 *
 * The functions take the folder in which sysfs lists the USB devices, so that they also read a folder that only looks
 * like it. They block for as long as reading a few small files takes. Any thread.
 */
namespace usbsysfs {

/// The system's own folder.
inline constexpr const char *devices_folder = "/sys/bus/usb/devices";

struct Device
{
    std::string name; ///< where it is plugged in, see usbpath_linux.h
    std::string manufacturer; ///< empty when it gives none, as the next two
    std::string product;
    std::string driver; ///< bound to its first audio interface
};

/**
 * The devices that have an audio interface, in the order of their places: 1-2 before 1-2.1, and that before 1-10.
 *
 * @return none when the folder cannot be read; a system without USB has no such folder and thus no device
 */
std::optional<std::vector<Device>> audio_devices(const std::string &folder);

/**
 * The name of the service, in the link's terms the driver, of a device.
 *
 * @return "kd-mx" for a unit of the series, else the name of the driver; empty when there is neither
 */
std::string service_name(const Device &device);

/// Number of a bus and of a device on it. The system gives a device another number each time it is plugged in.
struct Address
{
    uint32_t bus;
    uint32_t device;
};

/// The address that the unit of the series at this place has at the moment; none when there is no such unit.
std::optional<Address> unit_address(const std::string &folder, const std::string &name);

/// Path of the node through which the device with this address is used.
std::string node(const Address &address);

} // namespace usbsysfs
