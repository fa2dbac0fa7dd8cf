#pragma once

#include <cstdint>

/**
 * A model of the recorder's side of the protocol: the virtual unit that the device link is developed and tested with.
 *
 * It stands in for hardware; the link's real code talks to it. The same code runs inside a test process, behind a
 * USB device that is made of software, and inside a Windows driver: it allocates nothing, calls no library, keeps all
 * its state in one structure and knows no time. One thread at a time.
 *
 * A write is one message of the host; it is carried out at once, and what it asks for is queued. A read takes one
 * 64-byte block: the ready flag first, then as many whole elements of the queue as fit, then an end element. While the
 * unit is busy its blocks hold the ready flag alone. Answers about a channel repeat the channel before the value.
 */

/// What comes of a transfer.
enum virtualunit_result_t : uint32_t {
    VIRTUALUNIT_OK,
    VIRTUALUNIT_STALLED, ///< it did not respond just then; the host may try again
    VIRTUALUNIT_LATE, ///< it responds after the host's time-out only
    VIRTUALUNIT_FAILED, ///< it failed for good
    VIRTUALUNIT_GONE, ///< it was pulled out during the transfer
};

/// What can go wrong with a transfer, by script.
enum virtualunit_fault_kind_t : uint32_t {
    VIRTUALUNIT_FAULT_NONE,
    VIRTUALUNIT_FAULT_STALL, ///< result VIRTUALUNIT_STALLED; nothing is carried out
    VIRTUALUNIT_FAULT_LATE, ///< result VIRTUALUNIT_LATE; nothing is carried out
    VIRTUALUNIT_FAULT_HARD, ///< result VIRTUALUNIT_FAILED; nothing is carried out
    VIRTUALUNIT_FAULT_SHORT, ///< a read gives only `parameter` bytes (0 to 63) of its block; a write is carried out
    VIRTUALUNIT_FAULT_STALE, ///< a read gives the block of the read before once more; a write is carried out
    VIRTUALUNIT_FAULT_GARBLED, ///< a read gives nonsense in its block's place; a write is lost
    VIRTUALUNIT_FAULT_BUSY, ///< a read finds the unit busy; a write is carried out
    VIRTUALUNIT_FAULT_MUTE, ///< a read gives a block without answers, which stay queued; a write is carried out
    VIRTUALUNIT_FAULT_UNPLUG, ///< result VIRTUALUNIT_GONE; from then on there is no unit, until the fault ends
};

/**
 * A fault that lasts for `count` transfers, from transfer number `first` (the first of all is 0).
 *
 * If several apply, unplugging wins, then script order. A unit that is pulled out keeps its settings; its queue and an
 * incomplete firmware image are lost. Nonsense holds invalid types and strings that are too long, and no whole element
 * with a known identifier; it is the same in every run.
 */
struct virtualunit_fault_t
{
    uint32_t kind; ///< virtualunit_fault_kind_t
    uint32_t first;
    uint32_t count; ///< VIRTUALUNIT_FOREVER for one without end
    uint32_t parameter; ///< as described with the kind
};

inline constexpr uint32_t VIRTUALUNIT_FOREVER = 0xFFFFFFFF;
inline constexpr uint32_t VIRTUALUNIT_BLOCK_SIZE = 64;
inline constexpr uint32_t VIRTUALUNIT_FAULTS = 32;
inline constexpr uint32_t VIRTUALUNIT_TEXT_SIZE = 48;
inline constexpr uint32_t VIRTUALUNIT_QUEUE_SIZE = 4096;
inline constexpr uint32_t VIRTUALUNIT_CHANNELS = 5; ///< kinds of channels, usmsg_data_ch_t from 1
inline constexpr uint32_t VIRTUALUNIT_CHANNEL_NUMBERS = 4; ///< of the kind that has most
inline constexpr uint32_t VIRTUALUNIT_ROUTES = 16;

/// A channel and its number; 0 is none.
struct virtualunit_channel_t
{
    uint8_t ch; ///< usmsg_data_ch_t
    uint8_t ch_no; ///< from 1
};

/// What a channel is set to.
struct virtualunit_strip_t
{
    uint8_t fader;
    uint8_t mute;
    uint8_t stereo;
};

struct virtualunit_route_t
{
    virtualunit_channel_t source;
    virtualunit_channel_t destination;
};

/// The firmware transfer as the unit sees it.
struct virtualunit_firmware_t
{
    // Set by the owner.
    uint32_t allowance; ///< bytes granted with each status answer until the image is whole; 0 never grants any
    uint32_t lied_offset; ///< added to each offset that is reported, for a unit that lies; 0 otherwise
    uint32_t lied_room; ///< added to each room that is reported; 0 otherwise

    // Kept by the unit.
    uint32_t size; ///< of the image that is being moved or was moved
    uint32_t received; ///< bytes of it so far
    uint32_t room; ///< what is left of the bytes granted last
    uint32_t checksum; ///< CRC-32 of the bytes received
    uint32_t blocks; ///< data blocks received, misfits included
    uint32_t misfits; ///< data blocks without room, or of the wrong length or identifier; their bytes are not taken
};

/// The unit. Unless noted otherwise, the owner may read and set the fields at any time between transfers.
struct virtualunit_t
{
    // Identity.
    uint16_t version;
    uint16_t build;
    char product[VIRTUALUNIT_TEXT_SIZE]; ///< zero-terminated, as all texts here
    char build_date[VIRTUALUNIT_TEXT_SIZE];
    char build_time[VIRTUALUNIT_TEXT_SIZE];
    char info[VIRTUALUNIT_TEXT_SIZE];

    // Settings.
    uint32_t hz;
    uint8_t autopowersave;
    uint8_t setting_u8; ///< set by USMSG_ID_SET_U8
    uint32_t setting_u32; ///< set by USMSG_ID_SET_U32; the answer to a query is the query's value plus this
    uint32_t commands_a2; ///< how often USMSG_ID_COMMAND_A2 came
    virtualunit_strip_t strips[VIRTUALUNIT_CHANNELS][VIRTUALUNIT_CHANNEL_NUMBERS]; ///< [ch - 1][ch_no - 1]
    virtualunit_route_t routes[VIRTUALUNIT_ROUTES]; ///< no two with the same destination
    uint32_t route_count;
    virtualunit_firmware_t firmware;

    /// Reads that find the unit busy after each message.
    uint32_t busy_reads_after_write;

    // The script.
    virtualunit_fault_t faults[VIRTUALUNIT_FAULTS];
    uint32_t fault_count;

    // Kept by the unit.
    uint32_t transfers; ///< transfers so far, those that failed and those that found no unit included
    uint32_t busy_reads; ///< reads that will still find it busy
    uint32_t lost_answers; ///< answers that the full queue could not take
    uint8_t last_block[VIRTUALUNIT_BLOCK_SIZE];
    uint8_t queue[VIRTUALUNIT_QUEUE_SIZE]; ///< whole elements or groups of elements, each after its length
    uint32_t queue_used;
};

extern "C" {

/// Makes a unit in the state of the factory: a KD-MX2 with settings that are not all zero, and without faults.
void virtualunit_init(virtualunit_t *unit);

/// How many channel numbers a kind of channel has; 0 for what is no channel.
uint32_t virtualunit_channel_numbers(uint32_t ch);

/// The strip of a channel, inside the unit; null when there is no such channel.
virtualunit_strip_t *virtualunit_strip(virtualunit_t *unit, uint32_t ch, uint32_t ch_no);

/**
 * Adds a fault to the script.
 *
 * @return 0; 1 when the script is full
 */
int virtualunit_add_fault(virtualunit_t *unit, virtualunit_fault_t fault);

/// Queues debug text of the firmware; what is longer than fits into one element is cut. Not zero-terminated.
void virtualunit_say(virtualunit_t *unit, const char *text, uint32_t length);

/**
 * Whether the unit is plugged in, for the next transfer.
 *
 * The host finds no unit while it is not. Ask before each transfer, and call virtualunit_skip() where the host
 * would have made one.
 */
int virtualunit_is_plugged(const virtualunit_t *unit);

/// Counts a transfer that found no unit.
void virtualunit_skip(virtualunit_t *unit);

/**
 * Takes one message of the host.
 *
 * @param length  in bytes; more than 64 gives VIRTUALUNIT_STALLED
 */
virtualunit_result_t virtualunit_write(virtualunit_t *unit, const uint8_t *message, uint32_t length);

/**
 * Gives one block.
 *
 * @param block   receives up to VIRTUALUNIT_BLOCK_SIZE bytes
 * @param length  receives how many; 0 unless the result is VIRTUALUNIT_OK
 */
virtualunit_result_t virtualunit_read(virtualunit_t *unit, uint8_t *block, uint32_t *length);
}
