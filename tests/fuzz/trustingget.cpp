#include "usmsg.h"

// A reader with a fault, to show that the fuzzer finds one: it believes the length byte of a string. The linker puts it
// in the place of the true one.

extern "C" int __real_usmsg_get(usmsg_buf_t *buf, uint32_t *id_out, uint32_t *type_out, uint64_t *value_out,
                                uint8_t *length_out);

extern "C" int __wrap_usmsg_get(usmsg_buf_t *buf, uint32_t *id_out, uint32_t *type_out, uint64_t *value_out,
                                uint8_t *length_out)
{
    constexpr uint8_t head = 3;
    const int result = __real_usmsg_get(buf, id_out, type_out, value_out, length_out);
    const bool is_cut_string =
        result != 0 && buf->size >= buf->pos + head && buf->data[buf->pos + 1] == USMSG_DATA_TYPE_BYTES;
    if (!is_cut_string)
        return result;
    const uint8_t *const element = buf->data + buf->pos;
    if (id_out != nullptr)
        *id_out = element[0];
    if (type_out != nullptr)
        *type_out = element[1];
    if (value_out != nullptr)
        *value_out = reinterpret_cast<uintptr_t>(element + head);
    if (length_out != nullptr)
        *length_out = element[2];
    buf->pos = static_cast<uint8_t>(buf->pos + head + element[2]);
    return 0;
}
