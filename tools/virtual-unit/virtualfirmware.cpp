#include "virtualfirmware.h"

#include "usmsg.h"
#include "virtualbytes.h"

namespace virtualfirmware {

namespace {

// A message of 64 bytes holds this many bytes of an image.
constexpr uint32_t largest_data = 61;

/// CRC-32 as of Ethernet, carried on over further bytes; half a byte at a time, which is fast enough.
uint32_t carry_checksum_on(uint32_t checksum, const uint8_t *bytes, uint32_t count)
{
    static constexpr uint32_t table[16] = {
        0x00000000, 0x1DB71064, 0x3B6E20C8, 0x26D930AC, 0x76DC4190, 0x6B6B51F4, 0x4DB26158, 0x5005713C,
        0xEDB88320, 0xF00F9344, 0xD6D6A3E8, 0xCB61B38C, 0x9B64C2B0, 0x86D3D2D4, 0xA00AE278, 0xBDBDF21C,
    };
    checksum = ~checksum;
    for (uint32_t index = 0; index < count; ++index) {
        checksum ^= bytes[index];
        checksum = checksum >> 4 ^ table[checksum & 0xF];
        checksum = checksum >> 4 ^ table[checksum & 0xF];
    }
    return ~checksum;
}

} // namespace

void begin(virtualunit_firmware_t *firmware, uint32_t size)
{
    firmware->size = size;
    firmware->received = 0;
    firmware->room = 0;
    firmware->checksum = 0;
    firmware->blocks = 0;
    firmware->misfits = 0;
}

void append_status(virtualunit_firmware_t *firmware, virtualelements::group_t *group)
{
    firmware->room = firmware->received == firmware->size ? 0 : firmware->allowance;
    virtualelements::append_u32(group, USMSG_ID_FW_ROOM, firmware->room + firmware->lied_room);
    virtualelements::append_u32(group, USMSG_ID_FW_OFFSET, firmware->received + firmware->lied_offset);
}

void take_data(virtualunit_firmware_t *firmware, const virtualelements::element_t &element)
{
    const uint32_t awaited = virtualbytes::smaller(firmware->room, firmware->size - firmware->received);
    const bool ends_allowance = awaited <= largest_data;
    const uint32_t id = ends_allowance ? USMSG_ID_FW_DATA_LAST : USMSG_ID_FW_DATA;
    ++firmware->blocks;
    if (awaited == 0 || element.id != id || element.size != virtualbytes::smaller(awaited, largest_data)) {
        ++firmware->misfits;
        return;
    }
    firmware->checksum = carry_checksum_on(firmware->checksum, element.value, element.size);
    firmware->received += element.size;
    firmware->room -= element.size;
}

} // namespace virtualfirmware
