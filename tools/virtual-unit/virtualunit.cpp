#include "virtualunit.h"

#include "usmsg.h"

// Of the host's code only the names of identifiers and channels are used. Elements are read and written by helpers of
// the unit's own: a mistake on one side shows as a misunderstanding and is not mirrored by the other.
//
// This file also goes into a kernel driver: no library, no exceptions, nothing that runs before the first call.

namespace {

constexpr uint32_t head_size = 2;
constexpr uint32_t string_head_size = 3;
constexpr uint32_t ready_flag_size = 3;

// What one block can carry behind the ready flag.
constexpr uint32_t largest_group = VIRTUALUNIT_BLOCK_SIZE - ready_flag_size;
constexpr uint32_t largest_text = largest_group - string_head_size;

// A message of 64 bytes holds this many bytes of an image.
constexpr uint32_t largest_data = 61;

static_assert(VIRTUALUNIT_TEXT_SIZE - 1 <= largest_text, "an identity text fits into one block");

/// An element of a message; its value lies in the message.
struct element_t
{
    uint32_t id;
    uint32_t type;
    const uint8_t *value;
    uint32_t size;
};

/// Elements that belong into the same block.
struct group_t
{
    uint8_t bytes[largest_group];
    uint32_t length;
};

/// What the elements of one message have named so far.
struct named_t
{
    virtualunit_channel_t channel;
    virtualunit_channel_t source;
    virtualunit_channel_t destination;
    bool has_source;
    bool has_destination;
};

uint32_t smaller(uint32_t left, uint32_t right)
{
    return left < right ? left : right;
}

void copy(uint8_t *to, const uint8_t *from, uint32_t count)
{
    for (uint32_t index = 0; index < count; ++index)
        to[index] = from[index];
}

void clear(void *memory, uint32_t count)
{
    for (uint32_t index = 0; index < count; ++index)
        static_cast<uint8_t *>(memory)[index] = 0;
}

uint32_t text_length(const char *text)
{
    uint32_t length = 0;
    while (length < VIRTUALUNIT_TEXT_SIZE && text[length] != 0)
        ++length;
    return length;
}

template <uint32_t size>
void set_text(char (&text)[VIRTUALUNIT_TEXT_SIZE], const char (&value)[size])
{
    static_assert(size <= VIRTUALUNIT_TEXT_SIZE);
    for (uint32_t index = 0; index < size; ++index)
        text[index] = value[index];
}

// Reading messages.

/// Reads the element at an offset and moves on; false at the end, at an invalid type and at an element that is cut.
bool next_element(const uint8_t *message, uint32_t length, uint32_t *at, element_t *element)
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

/// An identifier with a type, as one number: most identifiers mean something with one type only.
constexpr uint32_t key(uint32_t id, uint32_t type)
{
    return id << 8 | type;
}

// Writing answers.

void append_number(group_t *group, uint32_t id, uint32_t type, uint32_t size, uint32_t number)
{
    uint8_t *const bytes = group->bytes + group->length;
    bytes[0] = static_cast<uint8_t>(id);
    bytes[1] = static_cast<uint8_t>(type);
    for (uint32_t index = 0; index < size; ++index)
        bytes[head_size + index] = static_cast<uint8_t>(number >> (8 * index));
    group->length += head_size + size;
}

void append_mark(group_t *group, uint32_t id)
{
    append_number(group, id, USMSG_DATA_TYPE_NONE, 0, 0);
}

void append_u8(group_t *group, uint32_t id, uint8_t number)
{
    append_number(group, id, USMSG_DATA_TYPE_U8, 1, number);
}

void append_u32(group_t *group, uint32_t id, uint32_t number)
{
    append_number(group, id, USMSG_DATA_TYPE_U32, 4, number);
}

void append_channel(group_t *group, const virtualunit_channel_t &channel)
{
    append_u8(group, USMSG_ID_CH, channel.ch);
    append_u8(group, USMSG_ID_CH_NO, channel.ch_no);
}

void queue_group(virtualunit_t *unit, const group_t &group)
{
    if (VIRTUALUNIT_QUEUE_SIZE - unit->queue_used < 1 + group.length) {
        ++unit->lost_answers;
        return;
    }
    uint8_t *const end = unit->queue + unit->queue_used;
    end[0] = static_cast<uint8_t>(group.length);
    copy(end + 1, group.bytes, group.length);
    unit->queue_used += 1 + group.length;
}

void answer_u8(virtualunit_t *unit, uint32_t id, uint8_t number)
{
    group_t group = {};
    append_u8(&group, id, number);
    queue_group(unit, group);
}

void answer_u16(virtualunit_t *unit, uint32_t id, uint16_t number)
{
    group_t group = {};
    append_number(&group, id, USMSG_DATA_TYPE_U16, 2, number);
    queue_group(unit, group);
}

void answer_u32(virtualunit_t *unit, uint32_t id, uint32_t number)
{
    group_t group = {};
    append_u32(&group, id, number);
    queue_group(unit, group);
}

void answer_text(virtualunit_t *unit, uint32_t id, const char *text, uint32_t length)
{
    group_t group = {};
    group.bytes[0] = static_cast<uint8_t>(id);
    group.bytes[1] = USMSG_DATA_TYPE_BYTES;
    group.bytes[2] = static_cast<uint8_t>(length);
    for (uint32_t index = 0; index < length; ++index)
        group.bytes[string_head_size + index] = static_cast<uint8_t>(text[index]);
    group.length = string_head_size + length;
    queue_group(unit, group);
}

void answer_identity(virtualunit_t *unit)
{
    answer_u16(unit, USMSG_ID_VERSION, unit->version);
    answer_u16(unit, USMSG_ID_BUILD, unit->build);
    answer_text(unit, USMSG_ID_PRODUCTNAME, unit->product, text_length(unit->product));
    answer_text(unit, USMSG_ID_BUILDDATE, unit->build_date, text_length(unit->build_date));
    answer_text(unit, USMSG_ID_BUILDTIME, unit->build_time, text_length(unit->build_time));
    answer_text(unit, USMSG_ID_INFO, unit->info, text_length(unit->info));
}

// Channels and routes.

void answer_channel(virtualunit_t *unit, const virtualunit_channel_t &channel, uint32_t id, uint8_t number)
{
    group_t group = {};
    append_channel(&group, channel);
    append_u8(&group, id, number);
    queue_group(unit, group);
}

void answer_routes(virtualunit_t *unit)
{
    for (uint32_t index = 0; index < unit->route_count; ++index) {
        const virtualunit_route_t &route = unit->routes[index];
        group_t group = {};
        append_channel(&group, route.source);
        append_mark(&group, USMSG_ID_ROUTE_SOURCE);
        append_channel(&group, route.destination);
        append_mark(&group, USMSG_ID_ROUTE_DESTINATION);
        append_mark(&group, USMSG_ID_ROUTE_COMPLETE);
        queue_group(unit, group);
    }
}

bool is_channel(const virtualunit_channel_t &channel)
{
    return channel.ch_no >= 1 && channel.ch_no <= virtualunit_channel_numbers(channel.ch);
}

bool is_same(const virtualunit_channel_t &left, const virtualunit_channel_t &right)
{
    return left.ch == right.ch && left.ch_no == right.ch_no;
}

/// Routes a source to a destination. A destination has one source: the last one told.
void set_route(virtualunit_t *unit, const virtualunit_channel_t &source, const virtualunit_channel_t &destination)
{
    uint32_t index = 0;
    while (index < unit->route_count && !is_same(unit->routes[index].destination, destination))
        ++index;
    if (index == VIRTUALUNIT_ROUTES)
        return;
    unit->routes[index] = {source, destination};
    if (index == unit->route_count)
        ++unit->route_count;
}

void complete_route(virtualunit_t *unit, const named_t &named)
{
    if (!named.has_source || !named.has_destination)
        return;
    // Channel 0 is none: a route from none to none asks for those that there are.
    if (named.source.ch == 0 && named.destination.ch == 0)
        answer_routes(unit);
    else if (is_channel(named.source) && is_channel(named.destination))
        set_route(unit, named.source, named.destination);
}

/// Whether an element only names something for those behind it.
bool take_name(const element_t &element, named_t *named)
{
    switch (key(element.id, element.type)) {
    case key(USMSG_ID_CH, USMSG_DATA_TYPE_U8):
        named->channel.ch = element.value[0];
        return true;
    case key(USMSG_ID_CH_NO, USMSG_DATA_TYPE_U8):
        named->channel.ch_no = element.value[0];
        return true;
    case key(USMSG_ID_ROUTE_SOURCE, USMSG_DATA_TYPE_NONE):
        named->source = named->channel;
        named->has_source = true;
        return true;
    case key(USMSG_ID_ROUTE_DESTINATION, USMSG_DATA_TYPE_NONE):
        named->destination = named->channel;
        named->has_destination = true;
        return true;
    default:
        return false;
    }
}

void carry_out_for_channel(virtualunit_t *unit, const element_t &element, const virtualunit_channel_t &channel)
{
    virtualunit_strip_t *const strip = virtualunit_strip(unit, channel.ch, channel.ch_no);
    if (strip == nullptr)
        return;
    switch (key(element.id, element.type)) {
    case key(USMSG_ID_SET_FADER, USMSG_DATA_TYPE_U8):
        strip->fader = element.value[0];
        break;
    case key(USMSG_ID_SET_MUTE, USMSG_DATA_TYPE_U8):
        strip->mute = element.value[0];
        break;
    case key(USMSG_ID_SET_STEREO, USMSG_DATA_TYPE_U8):
        strip->stereo = element.value[0];
        break;
    // A request comes with either type.
    case key(USMSG_ID_GET_FADER, USMSG_DATA_TYPE_NONE):
    case key(USMSG_ID_GET_FADER, USMSG_DATA_TYPE_U8):
        answer_channel(unit, channel, USMSG_ID_GET_FADER, strip->fader);
        break;
    case key(USMSG_ID_GET_MUTE, USMSG_DATA_TYPE_NONE):
    case key(USMSG_ID_GET_MUTE, USMSG_DATA_TYPE_U8):
        answer_channel(unit, channel, USMSG_ID_GET_MUTE, strip->mute);
        break;
    case key(USMSG_ID_GET_STEREO, USMSG_DATA_TYPE_NONE):
    case key(USMSG_ID_GET_STEREO, USMSG_DATA_TYPE_U8):
        answer_channel(unit, channel, USMSG_ID_GET_STEREO, strip->stereo);
        break;
    default:
        break;
    }
}

// The firmware transfer.

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

void begin_firmware(virtualunit_firmware_t *firmware, uint32_t size)
{
    firmware->size = size;
    firmware->received = 0;
    firmware->room = 0;
    firmware->checksum = 0;
    firmware->blocks = 0;
    firmware->misfits = 0;
}

void answer_firmware_status(virtualunit_t *unit)
{
    virtualunit_firmware_t &firmware = unit->firmware;
    firmware.room = firmware.received == firmware.size ? 0 : firmware.allowance;
    group_t group = {};
    append_u32(&group, USMSG_ID_FW_ROOM, firmware.room + firmware.lied_room);
    append_u32(&group, USMSG_ID_FW_OFFSET, firmware.received + firmware.lied_offset);
    queue_group(unit, group);
}

void take_firmware_data(virtualunit_firmware_t *firmware, const element_t &element)
{
    const uint32_t awaited = smaller(firmware->room, firmware->size - firmware->received);
    const bool ends_allowance = awaited <= largest_data;
    const uint32_t id = ends_allowance ? USMSG_ID_FW_DATA_LAST : USMSG_ID_FW_DATA;
    ++firmware->blocks;
    if (awaited == 0 || element.id != id || element.size != smaller(awaited, largest_data)) {
        ++firmware->misfits;
        return;
    }
    firmware->checksum = carry_checksum_on(firmware->checksum, element.value, element.size);
    firmware->received += element.size;
    firmware->room -= element.size;
}

// Messages and blocks.

void carry_out(virtualunit_t *unit, const element_t &element, named_t *named)
{
    if (take_name(element, named))
        return;
    static constexpr char command_text[] = "command A2";
    switch (key(element.id, element.type)) {
    case key(USMSG_ID_IDENTITY, USMSG_DATA_TYPE_NONE):
        answer_identity(unit);
        break;
    case key(USMSG_ID_HZ, USMSG_DATA_TYPE_NONE):
        answer_u32(unit, USMSG_ID_HZ, unit->hz);
        break;
    case key(USMSG_ID_GET_AUTOPOWERSAVE, USMSG_DATA_TYPE_NONE):
        answer_u8(unit, USMSG_ID_AUTOPOWERSAVE, unit->autopowersave);
        break;
    case key(USMSG_ID_AUTOPOWERSAVE, USMSG_DATA_TYPE_U8):
        unit->autopowersave = element.value[0];
        break;
    case key(USMSG_ID_SET_U8, USMSG_DATA_TYPE_U8):
        unit->setting_u8 = element.value[0];
        break;
    case key(USMSG_ID_SET_U32, USMSG_DATA_TYPE_U32):
        unit->setting_u32 = number_of(element);
        break;
    case key(USMSG_ID_QUERY_U32, USMSG_DATA_TYPE_U32):
        answer_u32(unit, USMSG_ID_ANSWER_U32, number_of(element) + unit->setting_u32);
        break;
    case key(USMSG_ID_COMMAND_A2, USMSG_DATA_TYPE_U8):
        ++unit->commands_a2;
        virtualunit_say(unit, command_text, sizeof(command_text) - 1);
        break;
    case key(USMSG_ID_ROUTE_COMPLETE, USMSG_DATA_TYPE_NONE):
        complete_route(unit, *named);
        break;
    case key(USMSG_ID_FW_BEGIN, USMSG_DATA_TYPE_U32):
        begin_firmware(&unit->firmware, number_of(element));
        break;
    case key(USMSG_ID_FW_STATUS, USMSG_DATA_TYPE_NONE):
        answer_firmware_status(unit);
        break;
    case key(USMSG_ID_FW_DATA, USMSG_DATA_TYPE_BYTES):
    case key(USMSG_ID_FW_DATA_LAST, USMSG_DATA_TYPE_BYTES):
        take_firmware_data(&unit->firmware, element);
        break;
    default:
        carry_out_for_channel(unit, element, named->channel);
    }
}

/// Moves groups from the queue into a block, as long as the next one fits.
void take_queue(virtualunit_t *unit, uint8_t *block, uint32_t used)
{
    uint32_t taken = 0;
    while (taken < unit->queue_used && used + unit->queue[taken] <= VIRTUALUNIT_BLOCK_SIZE) {
        const uint32_t length = unit->queue[taken];
        copy(block + used, unit->queue + taken + 1, length);
        used += length;
        taken += 1 + length;
    }
    unit->queue_used -= taken;
    copy(unit->queue, unit->queue + taken, unit->queue_used);
}

/// Fills a block with what only looks like elements: none that is whole has a known identifier.
void garble(uint32_t transfer, uint8_t *block)
{
    constexpr uint8_t unknown_id = 0xEE;
    static constexpr uint8_t beginnings[][6] = {
        // Invalid types.
        {USMSG_ID_HZ, 6, 1, 2, 3, 4},
        {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
        {unknown_id, USMSG_DATA_TYPE_U8, 1, USMSG_ID_READY, 200, 1},
        {USMSG_ID_END, USMSG_DATA_TYPE_NONE, USMSG_ID_FW_ROOM, 7, 0, 0},
        // Strings that are longer than the block, or leave too little of it for the next element.
        {USMSG_ID_PRODUCTNAME, USMSG_DATA_TYPE_BYTES, 255, 'K', 'D', '-'},
        {unknown_id, USMSG_DATA_TYPE_BYTES, largest_group - string_head_size, 'K', 'D', '-'},
    };
    static constexpr uint8_t ending[] = {USMSG_ID_HZ, USMSG_DATA_TYPE_U32, 0xFF};
    uint32_t noise = transfer;
    for (uint32_t index = 0; index < VIRTUALUNIT_BLOCK_SIZE; ++index) {
        noise = noise * 1664525 + 1013904223;
        block[index] = static_cast<uint8_t>(noise >> 24);
    }
    const uint8_t(&beginning)[6] = beginnings[transfer % (sizeof(beginnings) / sizeof(beginnings[0]))];
    copy(block, beginning, sizeof(beginning));
    copy(block + VIRTUALUNIT_BLOCK_SIZE - sizeof(ending), ending, sizeof(ending));
}

/// Makes the next block. What is not written stays zero, and so ends the block where two bytes are left.
void make_block(virtualunit_t *unit, uint32_t fault)
{
    uint8_t *const block = unit->last_block;
    const bool busy = unit->busy_reads > 0 || fault == VIRTUALUNIT_FAULT_BUSY;
    if (unit->busy_reads > 0)
        --unit->busy_reads;
    clear(block, VIRTUALUNIT_BLOCK_SIZE);
    block[0] = USMSG_ID_READY;
    block[1] = USMSG_DATA_TYPE_U8;
    block[2] = busy ? 0 : 1;
    if (!busy && fault != VIRTUALUNIT_FAULT_MUTE)
        take_queue(unit, block, ready_flag_size);
    if (fault == VIRTUALUNIT_FAULT_GARBLED)
        garble(unit->transfers, block);
}

// Faults.

bool is_active(const virtualunit_fault_t &fault, uint32_t transfer)
{
    if (transfer < fault.first)
        return false;
    return fault.count == VIRTUALUNIT_FOREVER || transfer - fault.first < fault.count;
}

/// The unit is without power: what was on its way is lost, an image that is not whole too.
void lose_power(virtualunit_t *unit)
{
    unit->queue_used = 0;
    unit->busy_reads = 0;
    clear(unit->last_block, VIRTUALUNIT_BLOCK_SIZE);
    if (unit->firmware.received != unit->firmware.size)
        begin_firmware(&unit->firmware, 0);
}

virtualunit_fault_t fault_of(const virtualunit_t *unit, uint32_t transfer)
{
    virtualunit_fault_t found = {VIRTUALUNIT_FAULT_NONE, 0, 0, 0};
    for (uint32_t index = 0; index < unit->fault_count; ++index) {
        const virtualunit_fault_t &fault = unit->faults[index];
        if (!is_active(fault, transfer))
            continue;
        // Nothing else can happen to a unit that is not there.
        if (fault.kind == VIRTUALUNIT_FAULT_UNPLUG)
            return fault;
        if (found.kind == VIRTUALUNIT_FAULT_NONE)
            found = fault;
    }
    return found;
}

/// Counts a transfer and tells what goes wrong with it.
virtualunit_fault_t begin_transfer(virtualunit_t *unit)
{
    const virtualunit_fault_t fault = fault_of(unit, unit->transfers);
    ++unit->transfers;
    if (fault.kind == VIRTUALUNIT_FAULT_UNPLUG)
        lose_power(unit);
    return fault;
}

virtualunit_result_t result_of(uint32_t fault)
{
    switch (fault) {
    case VIRTUALUNIT_FAULT_STALL:
        return VIRTUALUNIT_STALLED;
    case VIRTUALUNIT_FAULT_LATE:
        return VIRTUALUNIT_LATE;
    case VIRTUALUNIT_FAULT_HARD:
        return VIRTUALUNIT_FAILED;
    case VIRTUALUNIT_FAULT_UNPLUG:
        return VIRTUALUNIT_GONE;
    default:
        return VIRTUALUNIT_OK;
    }
}

void set_factory_strips(virtualunit_t *unit)
{
    for (uint32_t ch = 1; ch <= VIRTUALUNIT_CHANNELS; ++ch) {
        // Every strip has its own level: one that is mistaken for another shows.
        for (uint32_t ch_no = 1; ch_no <= virtualunit_channel_numbers(ch); ++ch_no) {
            const auto fader = static_cast<uint8_t>(100 + 10 * ch + ch_no);
            *virtualunit_strip(unit, ch, ch_no) = {fader, 0, USMSG_DATA_CH_TYPE_STEREO};
        }
    }
    virtualunit_strip(unit, USMSG_DATA_CH_ANALOG_IN, 1)->stereo = USMSG_DATA_CH_TYPE_MONO;
    virtualunit_strip(unit, USMSG_DATA_CH_ANALOG_IN, 2)->stereo = USMSG_DATA_CH_TYPE_MONO;
    virtualunit_strip(unit, USMSG_DATA_CH_DIRECTMONITOR_OUT, 1)->mute = 1;
}

void set_factory_routes(virtualunit_t *unit)
{
    set_route(unit, {USMSG_DATA_CH_ANALOG_IN, 1}, {USMSG_DATA_CH_COMPUTER_OUT, 1});
    set_route(unit, {USMSG_DATA_CH_ANALOG_IN, 2}, {USMSG_DATA_CH_COMPUTER_OUT, 2});
    set_route(unit, {USMSG_DATA_CH_DIRECTMONITOR_OUT, 1}, {USMSG_DATA_CH_MASTER_OUT, 1});
    set_route(unit, {USMSG_DATA_CH_MASTER_OUT, 1}, {USMSG_DATA_CH_LINE_OUT, 1});
}

} // namespace

void virtualunit_init(virtualunit_t *unit)
{
    clear(unit, sizeof(*unit));
    unit->version = 0x0123;
    unit->build = 0x0456;
    set_text(unit->product, "KD-MX2");
    set_text(unit->build_date, "Apr  1 2025");
    set_text(unit->build_time, "12:34:56");
    set_text(unit->info, "VELMAR KD-MX Series");
    unit->hz = 48000;
    unit->autopowersave = 1;
    unit->setting_u8 = 7;
    unit->setting_u32 = 1000;
    set_factory_strips(unit);
    set_factory_routes(unit);
    unit->firmware.allowance = 1024;
}

uint32_t virtualunit_channel_numbers(uint32_t ch)
{
    switch (ch) {
    case USMSG_DATA_CH_LINE_OUT:
    case USMSG_DATA_CH_ANALOG_IN:
        return 2;
    case USMSG_DATA_CH_MASTER_OUT:
    case USMSG_DATA_CH_DIRECTMONITOR_OUT:
        return 1;
    case USMSG_DATA_CH_COMPUTER_OUT:
        return VIRTUALUNIT_CHANNEL_NUMBERS;
    default:
        return 0;
    }
}

virtualunit_strip_t *virtualunit_strip(virtualunit_t *unit, uint32_t ch, uint32_t ch_no)
{
    if (ch_no < 1 || ch_no > virtualunit_channel_numbers(ch))
        return nullptr;
    return &unit->strips[ch - 1][ch_no - 1];
}

int virtualunit_add_fault(virtualunit_t *unit, virtualunit_fault_t fault)
{
    if (unit->fault_count == VIRTUALUNIT_FAULTS)
        return 1;
    unit->faults[unit->fault_count++] = fault;
    return 0;
}

void virtualunit_say(virtualunit_t *unit, const char *text, uint32_t length)
{
    answer_text(unit, USMSG_ID_DEBUG, text, smaller(length, largest_text));
}

int virtualunit_is_plugged(const virtualunit_t *unit)
{
    for (uint32_t index = 0; index < unit->fault_count; ++index) {
        const virtualunit_fault_t &fault = unit->faults[index];
        // In the first transfer of the fault it is still there, to be pulled out.
        if (fault.kind == VIRTUALUNIT_FAULT_UNPLUG && unit->transfers != fault.first
            && is_active(fault, unit->transfers))
            return 0;
    }
    return 1;
}

void virtualunit_skip(virtualunit_t *unit)
{
    ++unit->transfers;
}

virtualunit_result_t virtualunit_write(virtualunit_t *unit, const uint8_t *message, uint32_t length)
{
    const virtualunit_fault_t fault = begin_transfer(unit);
    const virtualunit_result_t result = result_of(fault.kind);
    if (result != VIRTUALUNIT_OK)
        return result;
    if (length > VIRTUALUNIT_BLOCK_SIZE)
        return VIRTUALUNIT_STALLED;
    if (fault.kind == VIRTUALUNIT_FAULT_GARBLED)
        return VIRTUALUNIT_OK;
    unit->busy_reads = unit->busy_reads_after_write;
    named_t named = {};
    element_t element;
    uint32_t at = 0;
    while (next_element(message, length, &at, &element))
        carry_out(unit, element, &named);
    return VIRTUALUNIT_OK;
}

virtualunit_result_t virtualunit_read(virtualunit_t *unit, uint8_t *block, uint32_t *length)
{
    *length = 0;
    const virtualunit_fault_t fault = begin_transfer(unit);
    const virtualunit_result_t result = result_of(fault.kind);
    if (result != VIRTUALUNIT_OK)
        return result;
    if (fault.kind != VIRTUALUNIT_FAULT_STALE)
        make_block(unit, fault.kind);
    *length = VIRTUALUNIT_BLOCK_SIZE;
    if (fault.kind == VIRTUALUNIT_FAULT_SHORT)
        *length = smaller(fault.parameter, VIRTUALUNIT_BLOCK_SIZE - 1);
    copy(block, unit->last_block, *length);
    return VIRTUALUNIT_OK;
}
