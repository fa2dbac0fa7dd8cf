#pragma once

#include <cstdint>

/**
 * @file
 * Element messages: what the host and the recorder unit say to each other.
 *
 * A message is at most 64 bytes: elements packed back to back, then an end element. An element is an identifier
 * byte, a type byte and a value whose size follows from the type; numbers are little-endian.
 *
 * The functions do no I/O and allocate nothing. They are reentrant; a cursor and its bytes belong to one thread at a
 * time. A failed write prints one line "<module>:<line>:ERROR" to standard output, unless not even a header fits; a
 * failed read prints one only for an invalid type: "<module>:<line>:ERROR <type>".
 */

extern "C" {

/// Largest message in bytes, in both directions.
inline constexpr uint8_t USMSG_MAX_SIZE = 64;

/// The second byte of an element: what follows it. Larger numbers are invalid.
enum usmsg_data_type_t : uint32_t {
    USMSG_DATA_TYPE_END = 0, ///< nothing; the identifier must be 0
    USMSG_DATA_TYPE_NONE = 1, ///< nothing: a bare request or marker
    USMSG_DATA_TYPE_U8 = 2, ///< one byte
    USMSG_DATA_TYPE_U16 = 3, ///< two bytes
    USMSG_DATA_TYPE_U32 = 4, ///< four bytes
    USMSG_DATA_TYPE_BYTES = 5, ///< a length byte n, then n bytes
};

/// The channel that USMSG_ID_CH names. 0 is not a channel.
enum usmsg_data_ch_t : uint32_t {
    USMSG_DATA_CH_LINE_OUT = 1,
    USMSG_DATA_CH_MASTER_OUT = 2,
    USMSG_DATA_CH_COMPUTER_OUT = 3,
    USMSG_DATA_CH_ANALOG_IN = 4, ///< numbers 1 and 2
    USMSG_DATA_CH_DIRECTMONITOR_OUT = 5, ///< number 1
};

/// The stereo mode of a channel. The unit may report other numbers; they are passed on as they are.
enum usmsg_data_ch_type_t : uint32_t {
    USMSG_DATA_CH_TYPE_MONO = 1,
    USMSG_DATA_CH_TYPE_STEREO = 4,
};

/**
 * Element identifiers. "host" and "unit" say who sends them, with the type. An element about a channel applies to the
 * channel that was named last in the same message.
 */
enum usmsg_id_t : uint32_t {
    USMSG_ID_END = 0x00, ///< both, END: end of the message
    USMSG_ID_DEBUG = 0x12, ///< unit, BYTES: debug text of its firmware, up to the first zero byte
    USMSG_ID_SET_U8 = 0x13, ///< host, U8: a setting that this system does not name
    USMSG_ID_GET_AUTOPOWERSAVE = 0x14, ///< host, NONE: request; unit, U8: the setting
    USMSG_ID_AUTOPOWERSAVE = 0x15, ///< host, U8: sets it; unit, U8: reports it; 0 is off
    USMSG_ID_SET_U32 = 0x17, ///< host, U32: a setting that this system does not name
    USMSG_ID_HZ = 0x18, ///< host, NONE: request; unit, U32: sample rate in Hz
    USMSG_ID_FW_BEGIN = 0x21, ///< host, U32: firmware transfer begins; size of the image in bytes
    USMSG_ID_FW_STATUS = 0x22, ///< host, NONE: request of the next two
    USMSG_ID_FW_ROOM = 0x23, ///< unit, U32: bytes that it can take now
    USMSG_ID_FW_OFFSET = 0x24, ///< unit, U32: offset that it expects next
    USMSG_ID_FW_DATA = 0x25, ///< host, BYTES: 61 bytes; more of the allowance follows
    USMSG_ID_FW_DATA_LAST = 0x26, ///< host, BYTES: 1 to 61 bytes that end the allowance
    USMSG_ID_QUERY_U32 = 0x27, ///< host, U32: a query that this system does not name
    USMSG_ID_ANSWER_U32 = 0x28, ///< unit, U32: its answer
    USMSG_ID_IDENTITY = 0x31, ///< host, NONE: request of the next six
    USMSG_ID_VERSION = 0x32, ///< unit, U16: firmware version
    USMSG_ID_BUILD = 0x33, ///< unit, U16: firmware build number
    USMSG_ID_PRODUCTNAME = 0x34, ///< unit, BYTES: UTF-8
    USMSG_ID_BUILDDATE = 0x35, ///< unit, BYTES: UTF-8
    USMSG_ID_BUILDTIME = 0x36, ///< unit, BYTES: UTF-8
    USMSG_ID_INFO = 0x37, ///< unit, BYTES: further identity text
    USMSG_ID_ROUTE_SOURCE = 0x41, ///< both, NONE: the channel named last is a route's source
    USMSG_ID_ROUTE_DESTINATION = 0x42, ///< both, NONE: the channel named last is its destination
    USMSG_ID_ROUTE_COMPLETE = 0x43, ///< both, NONE: source and destination are complete
    USMSG_ID_CH = 0x61, ///< both, U8: names a channel, usmsg_data_ch_t
    USMSG_ID_CH_NO = 0x62, ///< both, U8: number within that channel, from 1
    USMSG_ID_SET_FADER = 0x81, ///< host, U8: fader level of the channel
    USMSG_ID_SET_MUTE = 0x83, ///< host, U8: mute of the channel; 0 is off
    USMSG_ID_SET_STEREO = 0x86, ///< host, U8: stereo mode of the channel
    USMSG_ID_READY = 0xA1, ///< unit, U8: 0 is busy
    USMSG_ID_COMMAND_A2 = 0xA2, ///< host, U8, always 0: a command that this system does not name
    USMSG_ID_GET_FADER = 0xC1, ///< host, NONE or U8: request; unit, U8: fader level
    USMSG_ID_GET_MUTE = 0xC3, ///< host, NONE or U8: request; unit, U8: mute
    USMSG_ID_GET_STEREO = 0xC6, ///< host, NONE or U8: request; unit, U8: stereo mode
};

/// A cursor over the bytes of a message. It owns nothing; zeroed, it is an empty message of no bytes.
struct usmsg_buf_t
{
    uint8_t *data; ///< the message's bytes; the caller's
    uint8_t size; ///< how many there are
    uint8_t pos; ///< offset of the next element; the encoded length after writing
};

/**
 * Binds a cursor to the bytes of a message, at its start.
 *
 * @param data  may be null only together with a size of 0; must outlive the cursor's use
 * @param size  in bytes
 * @return 0, always
 */
int usmsg_init(usmsg_buf_t *buf, uint8_t *data, uint8_t size);

/**
 * Moves a cursor to the start of its message, to read it or to write a new one.
 *
 * @return 0, always
 */
int usmsg_rewind(usmsg_buf_t *buf);

/**
 * Tells the longest byte string that still fits.
 *
 * @return in bytes; 0 also when not even an empty one fits
 */
uint32_t usmsg_room(const usmsg_buf_t *buf);

/**
 * Writes the header of an element and reserves the room for its value.
 *
 * A failed call may leave header bytes after the cursor: rewind before the message is sent. An end element that no
 * longer fits is silently left out, since a message that is exactly full needs none.
 *
 * @param id          identifier, see usmsg_id_t; the low byte is written
 * @param type        see usmsg_data_type_t
 * @param length      of a byte string, in bytes; 0 takes all the room that is left. Other types ignore it.
 * @param data_out    receives where the value goes; null when nothing is to be stored. May be null.
 * @param length_out  receives the size of the value in bytes. May be null.
 * @return 0 when written, or when the identifier is 0 and less than two bytes are left; 1 otherwise, without a line
 *         when less than two bytes are left
 */
int usmsg_put_header(usmsg_buf_t *buf, uint32_t id, uint32_t type, uint8_t length, uint8_t **data_out,
                     uint8_t *length_out);

/**
 * Writes an element.
 *
 * The notes on usmsg_put_header() apply here as well.
 *
 * @param value   the number, or the address of the bytes
 * @param length  of a byte string, in bytes; 0 takes all the room that is left and copies nothing into it
 * @return as usmsg_put_header()
 */
int usmsg_put(usmsg_buf_t *buf, uint32_t id, uint32_t type, uint64_t value, uint8_t length);

/**
 * Reads the element at the cursor and moves on.
 *
 * A byte string is not copied: its address points into the message. Only a type of USMSG_DATA_TYPE_BYTES has an
 * address; never follow the value of another type, the unit may send any type with any identifier.
 *
 * @param id_out      receives the identifier; unknown ones are delivered as well
 * @param type_out    receives the type
 * @param value_out   receives the number, or the address of the bytes, or 0
 * @param length_out  receives the size of the value in bytes
 * @return 0 when an element was read; 1, with the cursor unmoved and nothing stored, at the end of the message, at an
 *         invalid type (which prints a line) or when fewer bytes are left than the element needs. Each output may be
 *         null.
 */
int usmsg_get(usmsg_buf_t *buf, uint32_t *id_out, uint32_t *type_out, uint64_t *value_out, uint8_t *length_out);

/**
 * Names a channel, for people.
 *
 * @param ch  a usmsg_data_ch_t
 * @return the enumerator's name, or "UNKNOWN"; a constant
 */
const char *usmsg_data_ch_name(uint32_t ch);
}
