#include "userrortext_linux.h"

#include "usplatform.h"

namespace userrortext {

std::string_view of(uint32_t code)
{
    switch (code) {
    case USPLATFORM_ERROR_NOT_FOUND:
        return "There is no such unit.\n";
    case USPLATFORM_ERROR_ACCESS_DENIED:
        return "This user may not use the unit.\n";
    case USPLATFORM_ERROR_TRANSIENT:
        return "The unit does not respond.\n";
    case USPLATFORM_ERROR_CANCELLED:
        return "The transfer was called off.\n";
    case USPLATFORM_ERROR_IO:
        return "The transfer failed.\n";
    case USPLATFORM_ERROR_NOT_CONNECTED:
        return "The unit is no longer connected.\n";
    default:
        return "Unknown error.\n";
    }
}

void copy_as_format(std::string_view text, char16_t *to, uint32_t units)
{
    uint32_t used = 0;
    for (const char character : text) {
        const uint32_t needed = character == '%' ? 2 : 1;
        if (units - used <= needed)
            break;
        for (uint32_t copy = 0; copy < needed; ++copy)
            to[used++] = static_cast<unsigned char>(character);
    }
    to[used] = 0;
}

} // namespace userrortext
