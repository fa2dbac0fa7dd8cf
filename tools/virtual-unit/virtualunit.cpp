#include "virtualunit.h"

#include "usmsg.h"
#include "virtualbytes.h"
#include "virtualelements.h"
#include "virtualfaults.h"
#include "virtualfirmware.h"

// This file and those of its parts also go into a kernel driver: no library, no exceptions, nothing that runs before
// the first call.

namespace {

using virtualelements::element_t;
using virtualelements::group_t;
using virtualelements::key;

static_assert(VIRTUALUNIT_TEXT_SIZE - 1 <= virtualelements::largest_text, "an identity text fits into one block");

/// What the elements of one message have named so far.
struct named_t
{
    virtualunit_channel_t channel;
    virtualunit_channel_t source;
    virtualunit_channel_t destination;
    bool has_source;
    bool has_destination;
};

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

// Writing answers.

void queue_group(virtualunit_t *unit, const group_t &group)
{
    if (VIRTUALUNIT_QUEUE_SIZE - unit->queue_used < 1 + group.length) {
        ++unit->lost_answers;
        return;
    }
    uint8_t *const end = unit->queue + unit->queue_used;
    end[0] = static_cast<uint8_t>(group.length);
    virtualbytes::copy(end + 1, group.bytes, group.length);
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
    append_u16(&group, id, number);
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
    append_text(&group, id, text, length);
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

/// Routes a source to a destination. A destination has one source: the last one set.
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
    // Channel 0 is no channel: a route from 0 to 0 asks for the existing routes.
    if (named.source.ch == 0 && named.destination.ch == 0)
        answer_routes(unit);
    else if (is_channel(named.source) && is_channel(named.destination))
        set_route(unit, named.source, named.destination);
}

/// Whether an element only names something for those after it.
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

// The unit as a whole, and its firmware. False for an element about something else.

bool carry_out_for_unit(virtualunit_t *unit, const element_t &element)
{
    static constexpr char command_text[] = "command A2";
    switch (key(element.id, element.type)) {
    case key(USMSG_ID_IDENTITY, USMSG_DATA_TYPE_NONE):
        answer_identity(unit);
        return true;
    case key(USMSG_ID_HZ, USMSG_DATA_TYPE_NONE):
        answer_u32(unit, USMSG_ID_HZ, unit->hz);
        return true;
    case key(USMSG_ID_GET_AUTOPOWERSAVE, USMSG_DATA_TYPE_NONE):
        answer_u8(unit, USMSG_ID_AUTOPOWERSAVE, unit->autopowersave);
        return true;
    case key(USMSG_ID_AUTOPOWERSAVE, USMSG_DATA_TYPE_U8):
        unit->autopowersave = element.value[0];
        return true;
    case key(USMSG_ID_SET_U8, USMSG_DATA_TYPE_U8):
        unit->setting_u8 = element.value[0];
        return true;
    case key(USMSG_ID_SET_U32, USMSG_DATA_TYPE_U32):
        unit->setting_u32 = number_of(element);
        return true;
    case key(USMSG_ID_QUERY_U32, USMSG_DATA_TYPE_U32):
        answer_u32(unit, USMSG_ID_ANSWER_U32, number_of(element) + unit->setting_u32);
        return true;
    case key(USMSG_ID_COMMAND_A2, USMSG_DATA_TYPE_U8):
        ++unit->commands_a2;
        virtualunit_say(unit, command_text, sizeof(command_text) - 1);
        return true;
    default:
        return false;
    }
}

void answer_firmware_status(virtualunit_t *unit)
{
    group_t group = {};
    virtualfirmware::append_status(&unit->firmware, &group);
    queue_group(unit, group);
}

bool carry_out_for_firmware(virtualunit_t *unit, const element_t &element)
{
    switch (key(element.id, element.type)) {
    case key(USMSG_ID_FW_BEGIN, USMSG_DATA_TYPE_U32):
        virtualfirmware::begin(&unit->firmware, number_of(element));
        return true;
    case key(USMSG_ID_FW_STATUS, USMSG_DATA_TYPE_NONE):
        answer_firmware_status(unit);
        return true;
    case key(USMSG_ID_FW_DATA, USMSG_DATA_TYPE_BYTES):
    case key(USMSG_ID_FW_DATA_LAST, USMSG_DATA_TYPE_BYTES):
        virtualfirmware::take_data(&unit->firmware, element);
        return true;
    default:
        return false;
    }
}

// Messages and blocks.

void carry_out(virtualunit_t *unit, const element_t &element, named_t *named)
{
    if (take_name(element, named) || carry_out_for_unit(unit, element) || carry_out_for_firmware(unit, element))
        return;
    if (key(element.id, element.type) == key(USMSG_ID_ROUTE_COMPLETE, USMSG_DATA_TYPE_NONE))
        complete_route(unit, *named);
    else
        carry_out_for_channel(unit, element, named->channel);
}

/// Moves groups from the queue into a block, as long as the next one fits.
void take_queue(virtualunit_t *unit, uint8_t *block, uint32_t used)
{
    uint32_t taken = 0;
    while (taken < unit->queue_used && used + unit->queue[taken] <= VIRTUALUNIT_BLOCK_SIZE) {
        const uint32_t length = unit->queue[taken];
        virtualbytes::copy(block + used, unit->queue + taken + 1, length);
        used += length;
        taken += 1 + length;
    }
    unit->queue_used -= taken;
    virtualbytes::copy(unit->queue, unit->queue + taken, unit->queue_used);
}

/// Makes the next block. What is not written stays zero, and so ends the block where two bytes are left.
void make_block(virtualunit_t *unit, uint32_t fault)
{
    uint8_t *const block = unit->last_block;
    const bool busy = unit->busy_reads > 0 || fault == VIRTUALUNIT_FAULT_BUSY;
    if (unit->busy_reads > 0)
        --unit->busy_reads;
    virtualbytes::clear(block, VIRTUALUNIT_BLOCK_SIZE);
    block[0] = USMSG_ID_READY;
    block[1] = USMSG_DATA_TYPE_U8;
    block[2] = busy ? 0 : 1;
    if (!busy && fault != VIRTUALUNIT_FAULT_MUTE)
        take_queue(unit, block, virtualelements::ready_flag_size);
    if (fault == VIRTUALUNIT_FAULT_GARBLED)
        virtualfaults::garble(unit->transfers, block);
}

/// The unit is without power: what was on its way is lost, an image that is not whole too.
void lose_power(virtualunit_t *unit)
{
    unit->queue_used = 0;
    unit->busy_reads = 0;
    virtualbytes::clear(unit->last_block, VIRTUALUNIT_BLOCK_SIZE);
    if (unit->firmware.received != unit->firmware.size)
        virtualfirmware::begin(&unit->firmware, 0);
}

/// Counts a transfer and tells what goes wrong with it.
virtualunit_fault_t begin_transfer(virtualunit_t *unit)
{
    const virtualunit_fault_t fault = virtualfaults::of_transfer(unit, unit->transfers);
    ++unit->transfers;
    if (fault.kind == VIRTUALUNIT_FAULT_UNPLUG)
        lose_power(unit);
    return fault;
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
    virtualbytes::clear(unit, sizeof(*unit));
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
    answer_text(unit, USMSG_ID_DEBUG, text, virtualbytes::smaller(length, virtualelements::largest_text));
}

int virtualunit_is_plugged(const virtualunit_t *unit)
{
    return virtualfaults::is_pulled_out(unit) ? 0 : 1;
}

void virtualunit_skip(virtualunit_t *unit)
{
    ++unit->transfers;
}

virtualunit_result_t virtualunit_write(virtualunit_t *unit, const uint8_t *message, uint32_t length)
{
    const virtualunit_fault_t fault = begin_transfer(unit);
    const virtualunit_result_t result = virtualfaults::result_of(fault.kind);
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
    while (virtualelements::next(message, length, &at, &element))
        carry_out(unit, element, &named);
    return VIRTUALUNIT_OK;
}

virtualunit_result_t virtualunit_read(virtualunit_t *unit, uint8_t *block, uint32_t *length)
{
    *length = 0;
    const virtualunit_fault_t fault = begin_transfer(unit);
    const virtualunit_result_t result = virtualfaults::result_of(fault.kind);
    if (result != VIRTUALUNIT_OK)
        return result;
    if (fault.kind != VIRTUALUNIT_FAULT_STALE)
        make_block(unit, fault.kind);
    *length = VIRTUALUNIT_BLOCK_SIZE;
    if (fault.kind == VIRTUALUNIT_FAULT_SHORT)
        *length = virtualbytes::smaller(fault.parameter, VIRTUALUNIT_BLOCK_SIZE - 1);
    virtualbytes::copy(block, unit->last_block, *length);
    return VIRTUALUNIT_OK;
}
