#include "usctl.h"

#include "usexchange.h"
#include "usplatform.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

using usexchange::element_t;
using usexchange::fail;
using usexchange::message_t;

namespace {

constexpr int send_attempts = 3;
constexpr int ready_polls = 1000;
constexpr int query_polls = 100;
constexpr int slow_query_polls = 3000;
constexpr int route_polls = 4;

constexpr uint32_t poll_interval_ms = 10;
constexpr uint32_t route_poll_interval_ms = 100;

void pause()
{
    usplatform()->sleep(poll_interval_ms);
}

/// What a block says about the unit's readiness.
bool says_ready(message_t *block)
{
    bool busy = false;
    element_t element;
    while (usexchange::next_element(block, &element)) {
        if (element.id != USMSG_ID_READY)
            continue;
        if (element.value != 0)
            return true;
        busy = true;
    }
    // A unit that does not mention it is ready.
    return !busy;
}

int send_setting(usdev_t **unit, uint32_t id, uint32_t type, uint64_t value)
{
    message_t message;
    if (usmsg_put(&message.buf, id, type, value, 0) != 0)
        return fail();
    return usexchange::send_when_ready(unit, &message);
}

int send_channel_setting(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint32_t id, uint8_t value)
{
    message_t message;
    if (usctl_put_ch_value(&message.buf, ch, ch_no, id, value) != 0)
        return fail();
    return usexchange::send_when_ready(unit, &message);
}

/// Reads blocks until one holds the awaited element; running out of polls is a failure without a line.
int await_value(usdev_t **unit, uint32_t awaited_id, int polls, uint64_t *value_out)
{
    for (int poll = 0; poll < polls; ++poll) {
        message_t block;
        if (usctl_recv(unit, &block.buf) != 0)
            return fail();
        element_t element;
        while (usexchange::next_element(&block, &element)) {
            if (element.id != awaited_id)
                continue;
            *value_out = element.value;
            return 0;
        }
        pause();
    }
    return 1;
}

template <typename Number>
void store(Number *out, uint64_t value)
{
    if (out != nullptr)
        *out = static_cast<Number>(value);
}

/// A channel as the unit names it before a value.
struct channel_t
{
    uint32_t ch = 0;
    uint32_t ch_no = 0;

    /// Takes an element that names a part of a channel; false for any other element.
    bool take(const element_t &element)
    {
        if (element.id == USMSG_ID_CH)
            ch = static_cast<uint32_t>(element.value);
        else if (element.id == USMSG_ID_CH_NO)
            ch_no = static_cast<uint32_t>(element.value);
        else
            return false;
        return true;
    }

    bool operator==(const channel_t &) const = default;
};

/// Reads a whole block; true when it held the awaited value of the channel.
bool take_channel_value(message_t *block, uint32_t id, const channel_t &wanted, channel_t *current, uint8_t *value)
{
    bool found = false;
    element_t element;
    while (usexchange::next_element(block, &element)) {
        if (current->take(element) || element.id != id || *current != wanted)
            continue;
        *value = static_cast<uint8_t>(element.value);
        found = true;
    }
    return found;
}

int query_channel(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint32_t id, uint8_t *value)
{
    message_t message;
    if (usmsg_put(&message.buf, USMSG_ID_CH, USMSG_DATA_TYPE_U8, ch, 0) != 0
        || usmsg_put(&message.buf, USMSG_ID_CH_NO, USMSG_DATA_TYPE_U8, ch_no, 0) != 0
        || usmsg_put(&message.buf, id, USMSG_DATA_TYPE_NONE, 0, 0) != 0)
        return fail();
    if (usexchange::send_when_ready(unit, &message) != 0)
        return 1;

    const channel_t wanted = {ch, ch_no};
    // The number must be named by the unit; the channel may be left out.
    channel_t current = {ch, 0};
    for (int poll = 0; poll < query_polls; ++poll) {
        message_t block;
        if (usctl_recv(unit, &block.buf) != 0)
            return fail();
        if (take_channel_value(&block, id, wanted, &current, value))
            return 0;
        pause();
    }
    return 1;
}

/// An identity item on its way to the caller.
struct item_t
{
    uint32_t id;
    uint8_t *out;
    uint8_t max;
    uint8_t *length_out;
};

void print_debug_line(const element_t &element)
{
    std::printf("\ndbg:");
    if (element.bytes() != nullptr)
        usctl_print_debug(element.bytes(), element.length);
    std::printf("\n");
}

/// Looks for an element, printing debug texts on the way.
bool find_item(message_t *block, uint32_t id, element_t *element)
{
    while (usexchange::next_element(block, element)) {
        if (element->id == USMSG_ID_DEBUG)
            print_debug_line(*element);
        if (element->id == id)
            return true;
    }
    return false;
}

/// Stores what the unit sent; false when it had nothing yet or sent another type.
bool store_item(const element_t &element, const item_t &item)
{
    const uint8_t length = std::min(element.length, item.max);
    const auto number = static_cast<uint16_t>(element.value);
    const void *const source =
        element.type == USMSG_DATA_TYPE_BYTES ? static_cast<const void *>(element.bytes()) : &number;
    if (element.type != USMSG_DATA_TYPE_BYTES && element.type != USMSG_DATA_TYPE_U16) {
        fail();
        return false;
    }
    if (item.out != nullptr)
        std::memcpy(item.out, source, length);
    store(item.length_out, length);
    return length != 0;
}

int query_identity(usdev_t **unit, const item_t &item)
{
    message_t message;
    if (usmsg_put(&message.buf, USMSG_ID_IDENTITY, USMSG_DATA_TYPE_NONE, 0, 0) != 0)
        return fail();
    if (usexchange::send_when_ready(unit, &message) != 0)
        return 1;
    for (int poll = 0; poll < query_polls; ++poll) {
        message_t block;
        if (usctl_recv(unit, &block.buf) != 0)
            return fail();
        element_t element;
        if (find_item(&block, item.id, &element) && store_item(element, item))
            return 0;
        pause();
    }
    return fail();
}

int query_number(usdev_t **unit, uint32_t id, uint16_t *out)
{
    return query_identity(unit, {id, reinterpret_cast<uint8_t *>(out), sizeof(*out), nullptr});
}

/// Appends one side of a route: the channel, and that it is the source or the destination.
bool put_route_side(usmsg_buf_t *buf, const channel_t &channel, uint32_t side)
{
    return usmsg_put(buf, USMSG_ID_CH, USMSG_DATA_TYPE_U8, channel.ch, 0) == 0
        && usmsg_put(buf, USMSG_ID_CH_NO, USMSG_DATA_TYPE_U8, channel.ch_no, 0) == 0
        && usmsg_put(buf, side, USMSG_DATA_TYPE_NONE, 0, 0) == 0;
}

/// Appends a whole route or nothing.
int put_route(usmsg_buf_t *buf, const channel_t &source, const channel_t &destination)
{
    const usmsg_buf_t before = *buf;
    if (put_route_side(buf, source, USMSG_ID_ROUTE_SOURCE)
        && put_route_side(buf, destination, USMSG_ID_ROUTE_DESTINATION)
        && usmsg_put(buf, USMSG_ID_ROUTE_COMPLETE, USMSG_DATA_TYPE_NONE, 0, 0) == 0)
        return 0;
    *buf = before;
    return fail();
}

/// Text lines on their way to the caller.
struct text_t
{
    char *text;
    uint32_t capacity;
    uint32_t used = 0;

    bool is_past_end() const { return used > capacity; }

    template <typename... Arguments>
    void append(const char *format, Arguments... arguments)
    {
        const bool has_room = text != nullptr && used < capacity;
        const int wanted =
            std::snprintf(has_room ? text + used : nullptr, has_room ? capacity - used : 0, format, arguments...);
        if (wanted > 0)
            used += static_cast<uint32_t>(wanted);
    }
};

/// The routes as the unit tells them, element by element.
struct route_dump_t
{
    channel_t current;
    channel_t source;
    channel_t destination;

    void take(const element_t &element, text_t *text)
    {
        if (current.take(element) || element.id == USMSG_ID_READY)
            return;
        if (element.id == USMSG_ID_ROUTE_SOURCE)
            source = current;
        else if (element.id == USMSG_ID_ROUTE_DESTINATION)
            destination = current;
        else if (element.id == USMSG_ID_ROUTE_COMPLETE)
            text->append("%s:%u -> %s:%u\n", usmsg_data_ch_name(source.ch), source.ch_no,
                         usmsg_data_ch_name(destination.ch), destination.ch_no);
        else
            text->append("cmd = %#x, type=%u, data = %u, size = %u\n", element.id, element.type,
                         static_cast<uint32_t>(element.value), static_cast<uint32_t>(element.length));
    }
};

void dump_block(message_t *block, route_dump_t *dump, text_t *text)
{
    element_t element;
    while (usexchange::next_element(block, &element)) {
        if (text->is_past_end()) {
            fail();
            return;
        }
        dump->take(element, text);
    }
}

} // namespace

int usctl_send(usdev_t **unit, const usmsg_buf_t *buf)
{
    if (buf->pos > USMSG_MAX_SIZE)
        return fail();
    for (int attempt = 1; attempt <= send_attempts; ++attempt) {
        const int result = usdev_write(*unit, USDEV_REQ_WRITE, 0, 0, buf->pos, buf->data);
        if (result == 0)
            return 0;
        fail();
        // A hard failure counts as sent: only a unit that did not respond just then is worth another attempt.
        if (result != USDEV_TRANSIENT)
            return 0;
        if (attempt < send_attempts)
            pause();
    }
    return fail();
}

int usctl_recv(usdev_t **unit, usmsg_buf_t *buf)
{
    usmsg_rewind(buf);
    uint8_t length = buf->size;
    if (length > USMSG_MAX_SIZE) {
        fail();
        length = USMSG_MAX_SIZE;
    }
    if (usdev_read(*unit, USDEV_REQ_READ, 0, 0, length, buf->data) != 0)
        return fail();
    return 0;
}

int usctl_put_ch_value(usmsg_buf_t *buf, uint32_t ch, uint32_t ch_no, uint32_t id, uint8_t value)
{
    if (buf == nullptr)
        return 1;
    const usmsg_buf_t before = *buf;
    if (usmsg_put(buf, USMSG_ID_CH, USMSG_DATA_TYPE_U8, ch, 0) == 0
        && usmsg_put(buf, USMSG_ID_CH_NO, USMSG_DATA_TYPE_U8, ch_no, 0) == 0
        && usmsg_put(buf, id, USMSG_DATA_TYPE_U8, value, 0) == 0)
        return 0;
    fail();
    *buf = before;
    return 1;
}

int usctl_wait_ready(usdev_t **unit)
{
    for (int poll = 0; poll < ready_polls; ++poll) {
        message_t block;
        if (usctl_recv(unit, &block.buf) != 0)
            fail();
        else if (says_ready(&block))
            return 0;
        pause();
    }
    return 1;
}

int usctl_get_version(usdev_t **unit, uint16_t *out)
{
    return query_number(unit, USMSG_ID_VERSION, out);
}

int usctl_get_build(usdev_t **unit, uint16_t *out)
{
    return query_number(unit, USMSG_ID_BUILD, out);
}

int usctl_get_productname(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out)
{
    return query_identity(unit, {USMSG_ID_PRODUCTNAME, out, max, length_out});
}

int usctl_get_builddate(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out)
{
    return query_identity(unit, {USMSG_ID_BUILDDATE, out, max, length_out});
}

int usctl_get_buildtime(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out)
{
    return query_identity(unit, {USMSG_ID_BUILDTIME, out, max, length_out});
}

int usctl_get_info(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out)
{
    return query_identity(unit, {USMSG_ID_INFO, out, max, length_out});
}

int usctl_get_hz(usdev_t **unit, uint32_t *out)
{
    uint64_t value = 0;
    if (send_setting(unit, USMSG_ID_HZ, USMSG_DATA_TYPE_NONE, 0) != 0)
        return 1;
    if (await_value(unit, USMSG_ID_HZ, query_polls, &value) != 0)
        return 1;
    store(out, value);
    return 0;
}

int usctl_get_autopowersave(usdev_t **unit, uint8_t *out)
{
    uint64_t value = 0;
    if (send_setting(unit, USMSG_ID_GET_AUTOPOWERSAVE, USMSG_DATA_TYPE_NONE, 0) != 0
        || await_value(unit, USMSG_ID_AUTOPOWERSAVE, query_polls, &value) != 0)
        return fail();
    store(out, value);
    return 0;
}

int usctl_set_autopowersave(usdev_t **unit, uint8_t value)
{
    return send_setting(unit, USMSG_ID_AUTOPOWERSAVE, USMSG_DATA_TYPE_U8, value);
}

int usctl_set_u8(usdev_t **unit, uint8_t value)
{
    return send_setting(unit, USMSG_ID_SET_U8, USMSG_DATA_TYPE_U8, value);
}

int usctl_set_u32(usdev_t **unit, uint32_t value)
{
    return send_setting(unit, USMSG_ID_SET_U32, USMSG_DATA_TYPE_U32, value);
}

int usctl_query_u32(usdev_t **unit, uint32_t value, uint32_t *out)
{
    uint64_t answer = 0;
    if (send_setting(unit, USMSG_ID_QUERY_U32, USMSG_DATA_TYPE_U32, value) != 0)
        return 1;
    if (await_value(unit, USMSG_ID_ANSWER_U32, slow_query_polls, &answer) != 0)
        return 1;
    store(out, answer);
    return 0;
}

int usctl_cmd_a2(usdev_t **unit)
{
    return send_setting(unit, USMSG_ID_COMMAND_A2, USMSG_DATA_TYPE_U8, 0);
}

int usctl_get_fader(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t *out)
{
    uint8_t value = 0;
    if (query_channel(unit, ch, ch_no, USMSG_ID_GET_FADER, &value) != 0)
        return 1;
    store(out, value);
    return 0;
}

int usctl_get_mute(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t *out)
{
    uint8_t value = 0;
    if (query_channel(unit, ch, ch_no, USMSG_ID_GET_MUTE, &value) != 0)
        return 1;
    store(out, value);
    return 0;
}

int usctl_get_stereo(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint32_t *out)
{
    uint8_t value = 0;
    if (query_channel(unit, ch, ch_no, USMSG_ID_GET_STEREO, &value) != 0)
        return fail();
    store(out, value);
    return 0;
}

int usctl_set_fader(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t value)
{
    return send_channel_setting(unit, ch, ch_no, USMSG_ID_SET_FADER, value);
}

int usctl_set_mute(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t value)
{
    return send_channel_setting(unit, ch, ch_no, USMSG_ID_SET_MUTE, value);
}

int usctl_set_stereo(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t value)
{
    return send_channel_setting(unit, ch, ch_no, USMSG_ID_SET_STEREO, value) == 0 ? 0 : fail();
}

int usctl_set_route(usdev_t **unit, uint32_t src_ch, uint32_t src_no, uint32_t dst_ch, uint32_t dst_no)
{
    message_t message;
    if (put_route(&message.buf, {src_ch, src_no}, {dst_ch, dst_no}) != 0)
        return 1;
    return usexchange::send_when_ready(unit, &message);
}

int usctl_dump_routes(usdev_t **unit, char *text, uint32_t capacity, uint32_t *length_out)
{
    if (usctl_set_route(unit, 0, 0, 0, 0) != 0)
        return fail();
    if (text != nullptr && capacity > 0)
        text[0] = 0;
    text_t lines = {text, capacity};
    route_dump_t dump;
    for (int poll = 0; poll < route_polls; ++poll) {
        usplatform()->sleep(route_poll_interval_ms);
        message_t block;
        if (usctl_recv(unit, &block.buf) != 0)
            return fail();
        dump_block(&block, &dump, &lines);
        store(length_out, lines.used);
    }
    return 0;
}

int usctl_get_debug(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out)
{
    message_t block;
    if (usctl_recv(unit, &block.buf) != 0)
        return fail();
    element_t element;
    while (usexchange::next_element(&block, &element)) {
        if (element.id != USMSG_ID_DEBUG || element.bytes() == nullptr)
            continue;
        const uint8_t length = std::min(element.length, max);
        if (out != nullptr)
            std::memcpy(out, element.bytes(), length);
        store(length_out, length);
    }
    return 0;
}

void usctl_print_debug(const uint8_t *text, uint32_t length)
{
    const auto *const end = std::find(text, text + length, uint8_t{0});
    std::fwrite(text, 1, static_cast<size_t>(end - text), stdout);
}
