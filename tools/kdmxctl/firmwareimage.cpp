#include "firmwareimage.h"

#include "failure.h"
#include "files.h"

#include <zlib.h>

#include <cstdio>
#include <fstream>
#include <limits>
#include <system_error>

namespace kdmxctl {

namespace {

// The protocol tells the size in 32 bits.
constexpr uintmax_t largest_image = std::numeric_limits<uint32_t>::max();

uintmax_t checked_size(const std::string &path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path_of(path), error);
    if (!std::filesystem::exists(status))
        throw bad_argument("There is no image " + path + '.');
    if (!std::filesystem::is_regular_file(status))
        throw bad_argument("The image " + path + " is not a file.");
    const uintmax_t size = std::filesystem::file_size(path_of(path), error);
    if (error)
        throw bad_argument("The image " + path + " cannot be read: " + error.message() + '.');
    if (size == 0)
        throw bad_argument("The image " + path + " is empty.");
    if (size > largest_image)
        throw bad_argument("The image " + path + " is larger than a unit can take (4294967295 bytes).");
    return size;
}

} // namespace

FirmwareImage read_firmware_image(const std::string &path)
{
    FirmwareImage image;
    const uintmax_t size = checked_size(path);
    std::ifstream file(path_of(path), std::ios::binary);
    if (!file.is_open())
        throw bad_argument("The image " + path + " cannot be read.");
    image.bytes.resize(static_cast<size_t>(size));
    file.read(reinterpret_cast<char *>(image.bytes.data()), static_cast<std::streamsize>(size));
    if (file.gcount() != static_cast<std::streamsize>(size))
        throw bad_argument("The image " + path + " cannot be read to its end.");
    image.crc32 = static_cast<uint32_t>(crc32_z(0, image.bytes.data(), image.bytes.size()));
    return image;
}

std::string crc32_text(uint32_t crc32)
{
    char text[9];
    std::snprintf(text, sizeof(text), "%08x", crc32);
    return text;
}

} // namespace kdmxctl
