#include "input.h"
#include "invariant.h"
#include "target.h"
#include "usctl.h"
#include "usmsg.h"

#include <algorithm>
#include <cstring>
#include <vector>

// Messages made of anything are read, and elements made of anything are written and read back.

namespace {

struct Element
{
    uint32_t id = 0xAAAAAAAA;
    uint32_t type = 0xAAAAAAAA;
    uint64_t value = 0xAAAAAAAA;
    uint8_t length = 0xAA;

    bool operator==(const Element &) const = default;
};

int get(usmsg_buf_t *buf, Element *element)
{
    return usmsg_get(buf, &element->id, &element->type, &element->value, &element->length);
}

uint8_t head_of(uint32_t type)
{
    return type == USMSG_DATA_TYPE_BYTES ? 3 : 2;
}

void check_value(const ExactBlock &message, uint8_t pos, const Element &element)
{
    const uint8_t *const place = message.data() + pos + head_of(element.type);
    invariant(element.type >= USMSG_DATA_TYPE_NONE && element.type <= USMSG_DATA_TYPE_BYTES, "M4: type");
    if (element.type == USMSG_DATA_TYPE_BYTES) {
        invariant(element.value == reinterpret_cast<uintptr_t>(place), "M4: address of a byte string");
        invariant(element.length == place[-1], "M4: length of a byte string");
        return;
    }
    constexpr uint8_t sizes[] = {0, 0, 1, 2, 4};
    invariant(element.length == sizes[element.type], "M4: size of a number");
    for (uint8_t index = 0; index < sizeof(element.value); ++index) {
        const uint8_t expected = index < element.length ? place[index] : 0;
        invariant((element.value >> (8 * index) & 0xFF) == expected, "M4: a number's bytes");
    }
}

/// Reads a message to its end, from anywhere.
void read_all(Input *input)
{
    const uint8_t start = input->byte();
    ExactBlock message = input->block(255);
    const std::vector<uint8_t> before = message.content();
    usmsg_buf_t buf = {message.data(), static_cast<uint8_t>(message.size()), start};
    for (size_t reads = 0;; ++reads) {
        invariant(reads <= message.size() / 2, "M5: more elements than there can be");
        const uint8_t pos = buf.pos;
        Element element;
        if (get(&buf, &element) != 0) {
            invariant(buf.pos == pos && element == Element(), "M3: a failed read left something behind");
            break;
        }
        invariant(buf.pos == pos + head_of(element.type) + element.length && buf.pos <= buf.size, "M2: cursor");
        check_value(message, pos, element);
    }
    invariant(usmsg_get(&buf, nullptr, nullptr, nullptr, nullptr) == 1, "M5: an end that was none");
    invariant(message.content() == before, "M1: reading wrote");
}

/// Elements that were written, and where.
struct Written
{
    uint32_t id;
    uint32_t type;
    uint64_t number;
    std::vector<uint8_t> bytes;
};

void check_room(const usmsg_buf_t &buf)
{
    const uint32_t room = usmsg_room(&buf);
    invariant(room == 0 || buf.pos + 3 + room == buf.size, "M8: room");
}

/// Puts one element; a copy of it is kept when that succeeds.
void put(usmsg_buf_t *buf, const ExactBlock &message, Input *input, std::vector<Written> *written)
{
    const uint8_t id = input->byte();
    const uint8_t kind = input->byte();
    // Rarely a type beyond a byte.
    const uint32_t type = kind == 0xFF ? input->number32() : kind % 8;
    const bool is_bytes = type == USMSG_DATA_TYPE_BYTES;
    const ExactBlock bytes = is_bytes ? input->block(input->byte()) : ExactBlock(0);
    const uint64_t number = is_bytes ? 0 : input->number32();
    const uint64_t value = is_bytes ? reinterpret_cast<uintptr_t>(bytes.data()) : number;
    const auto length = static_cast<uint8_t>(bytes.size());

    const std::vector<uint8_t> before = message.content();
    const uint8_t pos = buf->pos;
    check_room(*buf);
    // An element with the identifier of the end is silently left out of a full message.
    const bool is_dropped = id == USMSG_ID_END && buf->size - pos < 2;
    const bool fits = (length > 0 && length <= usmsg_room(buf)) || is_dropped;
    const int result = usmsg_put(buf, id, type, value, length);
    const std::vector<uint8_t> after = message.content();

    invariant(result == 0 || result == 1, "E1: result");
    invariant(!is_bytes || length == 0 || (result == 0) == fits,
              "M8: a string fits where none is said to, or the reverse");
    invariant(result == 0 ? buf->pos >= pos && buf->pos <= buf->size : buf->pos == pos, "M2: cursor");
    // A failed put may have written the two bytes of the head.
    const size_t last = result == 0 ? buf->pos : std::min<size_t>(pos + 2u, buf->size);
    invariant(std::equal(before.begin(), before.begin() + pos, after.begin()), "M6: bytes before the element");
    invariant(std::equal(before.begin() + static_cast<ptrdiff_t>(last), before.end(),
                         after.begin() + static_cast<ptrdiff_t>(last)),
              "M6: bytes behind the element");
    if (result != 0 || buf->pos == pos)
        return;
    Written element = {id, type, number, bytes.content()};
    if (is_bytes && length == 0) // It took what was there.
        element.bytes.assign(after.begin() + pos + 3, after.begin() + buf->pos);
    written->push_back(element);
}

void put_channel_value(usmsg_buf_t *buf, const ExactBlock &message, Input *input, std::vector<Written> *written)
{
    const uint8_t ch = input->byte();
    const uint8_t ch_no = input->byte();
    // 0 is no setting: an element with it may be silently left out of a full message.
    const uint8_t id = std::max<uint8_t>(input->byte(), 1);
    const uint8_t value = input->byte();
    const usmsg_buf_t before = *buf;
    const int result = usctl_put_ch_value(buf, ch, ch_no, id, value);
    invariant(buf->data == message.data() && buf->size == before.size, "M9: cursor");
    invariant(result == 0 ? buf->pos == before.pos + 9 : buf->pos == before.pos, "M9: a part of a setting");
    if (result != 0)
        return;
    written->push_back({USMSG_ID_CH, USMSG_DATA_TYPE_U8, ch, {}});
    written->push_back({USMSG_ID_CH_NO, USMSG_DATA_TYPE_U8, ch_no, {}});
    written->push_back({id, USMSG_DATA_TYPE_U8, value, {}});
}

uint64_t cut_to(uint64_t number, uint8_t bytes)
{
    return number & ((uint64_t{1} << (8 * bytes)) - 1);
}

/// What was written is read back, up to the first end element.
void check_read_back(usmsg_buf_t buf, const std::vector<Written> &written)
{
    const uint8_t end = buf.pos;
    usmsg_rewind(&buf);
    for (const Written &expected : written) {
        Element element;
        const int result = get(&buf, &element);
        if (expected.type == USMSG_DATA_TYPE_END) {
            invariant(result == 1, "M7: an end element was read over");
            return;
        }
        invariant(result == 0 && element.id == expected.id && element.type == expected.type, "M7: element");
        if (element.type != USMSG_DATA_TYPE_BYTES) {
            invariant(element.value == cut_to(expected.number, element.length), "M7: number");
            continue;
        }
        const auto *const bytes = reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(element.value));
        invariant(std::equal(bytes, bytes + element.length, expected.bytes.begin(), expected.bytes.end()), "M7: bytes");
    }
    invariant(buf.pos == end, "M7: the end of what was written");
}

void write_and_read_back(Input *input)
{
    ExactBlock message(input->byte(), 0xEE);
    usmsg_buf_t buf = {};
    usmsg_init(&buf, message.data(), static_cast<uint8_t>(message.size()));
    std::vector<Written> written;
    while (!input->is_empty()) {
        if (input->byte() % 8 == 0)
            put_channel_value(&buf, message, input, &written);
        else
            put(&buf, message, input, &written);
    }
    check_read_back(buf, written);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    Input input(bytes, size);
    if (input.byte() % 2 == 0)
        read_all(&input);
    else
        write_and_read_back(&input);
    return 0;
}
