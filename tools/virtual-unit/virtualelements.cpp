#include "virtualelements.h"

#include "usmsg.h"

namespace virtualelements {

namespace {

void append_number(group_t *group, uint32_t id, uint32_t type, uint32_t size, uint32_t number)
{
    uint8_t *const bytes = group->bytes + group->length;
    bytes[0] = static_cast<uint8_t>(id);
    bytes[1] = static_cast<uint8_t>(type);
    for (uint32_t index = 0; index < size; ++index)
        bytes[head_size + index] = static_cast<uint8_t>(number >> (8 * index));
    group->length += head_size + size;
}

} // namespace

bool next(const uint8_t *message, uint32_t length, uint32_t *at, element_t *element)
{
    const uint8_t *const bytes = message + *at;
    const uint32_t left = length - *at;
    if (left < head_size)
        return false;
    uint32_t head = head_size;
    uint32_t size = 0;
    switch (bytes[1]) {
    case USMSG_DATA_TYPE_NONE:
        break;
    case USMSG_DATA_TYPE_U8:
        size = 1;
        break;
    case USMSG_DATA_TYPE_U16:
        size = 2;
        break;
    case USMSG_DATA_TYPE_U32:
        size = 4;
        break;
    case USMSG_DATA_TYPE_BYTES:
        if (left < string_head_size)
            return false;
        head = string_head_size;
        size = bytes[2];
        break;
    default:
        return false;
    }
    if (left < head + size)
        return false;
    *element = {bytes[0], bytes[1], bytes + head, size};
    *at += head + size;
    return true;
}

uint32_t number_of(const element_t &element)
{
    uint32_t number = 0;
    for (uint32_t index = element.size; index > 0; --index)
        number = number << 8 | element.value[index - 1];
    return number;
}

void append_mark(group_t *group, uint32_t id)
{
    append_number(group, id, USMSG_DATA_TYPE_NONE, 0, 0);
}

void append_u8(group_t *group, uint32_t id, uint8_t number)
{
    append_number(group, id, USMSG_DATA_TYPE_U8, 1, number);
}

void append_u16(group_t *group, uint32_t id, uint16_t number)
{
    append_number(group, id, USMSG_DATA_TYPE_U16, 2, number);
}

void append_u32(group_t *group, uint32_t id, uint32_t number)
{
    append_number(group, id, USMSG_DATA_TYPE_U32, 4, number);
}

void append_text(group_t *group, uint32_t id, const char *text, uint32_t length)
{
    uint8_t *const bytes = group->bytes + group->length;
    bytes[0] = static_cast<uint8_t>(id);
    bytes[1] = USMSG_DATA_TYPE_BYTES;
    bytes[2] = static_cast<uint8_t>(length);
    for (uint32_t index = 0; index < length; ++index)
        bytes[string_head_size + index] = static_cast<uint8_t>(text[index]);
    group->length += string_head_size + length;
}

void append_channel(group_t *group, const virtualunit_channel_t &channel)
{
    append_u8(group, USMSG_ID_CH, channel.ch);
    append_u8(group, USMSG_ID_CH_NO, channel.ch_no);
}

} // namespace virtualelements
