#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kdmxctl {

/// A firmware image in memory.
struct FirmwareImage
{
    std::vector<uint8_t> bytes;
    uint32_t crc32 = 0; ///< checksum of all bytes, as zlib and PNG compute it

    uint32_t size() const { return static_cast<uint32_t>(bytes.size()); }
};

/// Reads a file as a whole; throws a bad argument when it is no file, empty, unreadable or larger than 4 GiB - 1.
FirmwareImage read_firmware_image(const std::string &path);

/// A checksum as it is shown: eight hexadecimal digits.
std::string crc32_text(uint32_t crc32);

} // namespace kdmxctl
