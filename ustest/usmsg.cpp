#include "usmsg.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr const char *module_path = "../../ustest/usmsg.cpp";

constexpr uint8_t header_size = 2;

// These lines are compared across builds, so the path is a fixed one and not the compiler's.
int fail(int line = __builtin_LINE())
{
    std::printf("%s:%d:ERROR\n", module_path, line);
    return 1;
}

int fail_type(uint32_t type, int line = __builtin_LINE())
{
    std::printf("%s:%d:ERROR %#x\n", module_path, line, type);
    return 1;
}

uint8_t room_left(const usmsg_buf_t *buf)
{
    // A cursor beyond the end is invalid; even then no byte outside the message may be touched.
    return buf->pos > buf->size ? uint8_t{0} : static_cast<uint8_t>(buf->size - buf->pos);
}

void store_little_endian(uint8_t *bytes, uint64_t value, uint8_t count)
{
    for (uint8_t index = 0; index < count; ++index)
        bytes[index] = static_cast<uint8_t>(value >> (8 * index));
}

uint32_t load_little_endian(const uint8_t *bytes, uint8_t count)
{
    uint32_t value = 0;
    for (uint8_t index = 0; index < count; ++index)
        value |= static_cast<uint32_t>(bytes[index]) << (8 * index);
    return value;
}

/// Size of the value of a number type; 0 for those without a value.
uint8_t number_size(uint32_t type)
{
    switch (type) {
    case USMSG_DATA_TYPE_U8:
        return 1;
    case USMSG_DATA_TYPE_U16:
        return 2;
    case USMSG_DATA_TYPE_U32:
        return 4;
    default:
        return 0;
    }
}

/// The value of an element: its place in the message and its size.
struct field_t
{
    uint8_t *data = nullptr;
    uint8_t length = 0;
};

int reserve_bytes(uint8_t *element, uint8_t room, uint8_t length, field_t *field)
{
    constexpr uint8_t head = header_size + 1;
    if (room < head)
        return fail();
    if (length > room - head)
        return fail();
    field->length = length == 0 ? static_cast<uint8_t>(room - head) : length;
    field->data = element + head;
    element[header_size] = field->length;
    return 0;
}

/// Finds the place of the value after the header and writes the length byte of a byte string.
int reserve_field(uint8_t *element, uint8_t room, uint32_t id, uint32_t type, uint8_t length, field_t *field)
{
    if (type == USMSG_DATA_TYPE_END)
        return id == USMSG_ID_END ? 0 : fail();
    if (type == USMSG_DATA_TYPE_NONE)
        return 0;
    if (type == USMSG_DATA_TYPE_BYTES)
        return reserve_bytes(element, room, length, field);
    if (type > USMSG_DATA_TYPE_BYTES)
        return fail();
    if (room < header_size + number_size(type))
        return fail();
    *field = {element + header_size, number_size(type)};
    return 0;
}

} // namespace

int usmsg_init(usmsg_buf_t *buf, uint8_t *data, uint8_t size)
{
    *buf = {data, size, 0};
    return 0;
}

int usmsg_rewind(usmsg_buf_t *buf)
{
    buf->pos = 0;
    return 0;
}

uint32_t usmsg_room(const usmsg_buf_t *buf)
{
    constexpr uint32_t head = header_size + 1;
    return buf->pos + head > buf->size ? 0 : buf->size - head - buf->pos;
}

int usmsg_put_header(usmsg_buf_t *buf, uint32_t id, uint32_t type, uint8_t length, uint8_t **data_out,
                     uint8_t *length_out)
{
    field_t field;
    const uint8_t room = room_left(buf);
    const bool fits = room >= header_size;
    if (!fits && id != USMSG_ID_END)
        return 1;
    if (fits) {
        uint8_t *const element = buf->data + buf->pos;
        element[0] = static_cast<uint8_t>(id);
        element[1] = static_cast<uint8_t>(type);
        if (reserve_field(element, room, id, type, length, &field) != 0)
            return 1;
        const uint8_t head = type == USMSG_DATA_TYPE_BYTES ? header_size + 1 : header_size;
        buf->pos = static_cast<uint8_t>(buf->pos + head + field.length);
    }
    if (data_out != nullptr)
        *data_out = field.data;
    if (length_out != nullptr)
        *length_out = field.length;
    return 0;
}

int usmsg_put(usmsg_buf_t *buf, uint32_t id, uint32_t type, uint64_t value, uint8_t length)
{
    field_t field;
    if (usmsg_put_header(buf, id, type, length, &field.data, &field.length) != 0)
        return 1;
    if (field.data == nullptr)
        return 0;
    if (type != USMSG_DATA_TYPE_BYTES)
        store_little_endian(field.data, value, field.length);
    else if (length != 0)
        // No memcpy(): for so few bytes GCC emits a string instruction, which takes longer to start than to copy them.
        std::copy_n(reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(value)), length, field.data);
    return 0;
}

int usmsg_get(usmsg_buf_t *buf, uint32_t *id_out, uint32_t *type_out, uint64_t *value_out, uint8_t *length_out)
{
    const uint8_t room = room_left(buf);
    if (room < header_size)
        return 1;
    const uint8_t *const element = buf->data + buf->pos;
    const uint32_t type = element[1];
    if (type == USMSG_DATA_TYPE_END)
        return 1;
    if (type > USMSG_DATA_TYPE_BYTES)
        return fail_type(type);

    uint8_t head = header_size;
    uint8_t length = number_size(type);
    if (type == USMSG_DATA_TYPE_BYTES) {
        if (room == header_size)
            return 1;
        head = header_size + 1;
        length = element[header_size];
    }
    if (room < head + length)
        return 1;
    buf->pos = static_cast<uint8_t>(buf->pos + head + length);

    if (id_out != nullptr)
        *id_out = element[0];
    if (type_out != nullptr)
        *type_out = type;
    if (value_out != nullptr) {
        *value_out = type == USMSG_DATA_TYPE_BYTES ? reinterpret_cast<uintptr_t>(element + head)
                                                   : load_little_endian(element + head, length);
    }
    if (length_out != nullptr)
        *length_out = length;
    return 0;
}

const char *usmsg_data_ch_name(uint32_t ch)
{
    struct name_t
    {
        const char *name;
        uint32_t ch;
    };
    static constexpr name_t names[] = {
        {"USMSG_DATA_CH_LINE_OUT", USMSG_DATA_CH_LINE_OUT},
        {"USMSG_DATA_CH_MASTER_OUT", USMSG_DATA_CH_MASTER_OUT},
        {"USMSG_DATA_CH_COMPUTER_OUT", USMSG_DATA_CH_COMPUTER_OUT},
        {"USMSG_DATA_CH_ANALOG_IN", USMSG_DATA_CH_ANALOG_IN},
        {"USMSG_DATA_CH_DIRECTMONITOR_OUT", USMSG_DATA_CH_DIRECTMONITOR_OUT},
    };
    for (const name_t &entry : names) {
        if (entry.ch == ch)
            return entry.name;
    }
    return "UNKNOWN";
}
