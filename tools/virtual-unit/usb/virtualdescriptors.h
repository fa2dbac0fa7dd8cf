#pragma once

#include "virtualusb.h"

#include <cstdint>
#include <vector>

/// The descriptor bytes of a virtual USB device.
namespace virtualusb {

inline constexpr uint8_t device_descriptor_type = 1;
inline constexpr uint8_t configuration_descriptor_type = 2;
inline constexpr uint8_t string_descriptor_type = 3;

/// Number of the audio function's clock, which requests about the sample rate name.
inline constexpr uint8_t clock_entity = 0x10;

/// 18 bytes. The strings have the numbers 1 (manufacturer), 2 (product) and 3 (serial number).
std::vector<uint8_t> device_descriptor_of(const Description &description);

/// The configuration with all that follows it: interfaces, audio units, endpoints.
std::vector<uint8_t> configuration_descriptor_of(const Description &description);

} // namespace virtualusb
