#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/**
 * Names of USB devices: where a device is plugged in, as the system writes it and as a path of the device link.
 *
 * A name is the bus and the chain of ports, "1-2.1". It says where a device is plugged in and stays the same when it is
 * pulled out and plugged in again; the address on the bus does not. Plain functions, any thread.
 */
namespace usbpath {

/// The numbers of a name: the bus, then the ports from the bus to the device. Compares in the order of a scan.
using Place = std::vector<uint32_t>;

/// The number that a text consists of, without sign or blanks; none for any other text.
std::optional<uint32_t> number(std::string_view digits);

/// The place that a name stands for; none if it names no device: root hubs ("usb1"), interfaces ("1-2:1.0").
std::optional<Place> place(std::string_view name);

/// Name of the device that an interface, "1-2.1:1.0", belongs to; empty when this is not the name of an interface.
std::string_view device_of_interface(std::string_view interface);

/// Number of an interface, the last one of its name; none when this is not the name of an interface.
std::optional<uint32_t> interface_number(std::string_view interface);

/// Identifier of a device for the link.
std::u16string instance(std::string_view name);

/// Path of a device's audio interface for the link, with the reference string that interfaces have.
std::u16string interface_path(std::string_view name);

/// Name of the device whose control path this is; none for any other path, that of an interface included.
std::optional<std::string> device_of_control_path(std::u16string_view path);

} // namespace usbpath
