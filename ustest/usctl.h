#pragma once

#include "usbdevs_win.h"
#include "usmsg.h"

#include <cstdint>

/**
 * @file
 * Device control: the exchanges with the recorder unit.
 *
 * Every function takes the address of the variable that holds the unit's device, sends messages, reads 64-byte blocks
 * and sleeps between them (the platform's sleep): it blocks its thread, up to the time stated with it. Only one
 * exchange with a unit may run at a time. Results are 0 for success and 1 for failure; each output may be null.
 * Failures print lines on standard output.
 *
 * A command first waits until the unit is ready (usctl_wait_ready()) and then sends. No state stays in the host: each
 * command has its own messages.
 *
 * Times stated here count the pauses only. Transfers come on top: a unit that is there and answers nothing costs the
 * platform's time limit with each of the 1000 polls, on Linux half a second to one and a half, thus many minutes. A
 * watch (uswatch.h) that refuses transfers ends an exchange earlier.
 */

extern "C" {

/**
 * Sends a message.
 *
 * Trips people: a hard failure (an unplugged unit, for example) counts as sent. Only a unit that does not respond for
 * the moment is tried again, three times in all, 10 ms apart.
 *
 * @param buf  the first buf->pos bytes are sent, at most 64
 * @return 1 when the message is too long or all three attempts found the unit not responding; 0 otherwise
 */
int usctl_send(usdev_t **unit, const usmsg_buf_t *buf);

/**
 * Reads one reply block into a message and rewinds its cursor.
 *
 * @param buf  its bytes are replaced, at most 64 of them; undefined after a failure
 */
int usctl_recv(usdev_t **unit, usmsg_buf_t *buf);

/**
 * Appends a channel, its number and a setting of it to a message, all of it or nothing.
 *
 * @param buf    null is a failure without a line
 * @param ch     usmsg_data_ch_t
 * @param ch_no  from 1; the low byte is sent
 * @param id     usmsg_id_t of the setting
 * @param value  of the setting
 */
int usctl_put_ch_value(usmsg_buf_t *buf, uint32_t ch, uint32_t ch_no, uint32_t id, uint8_t value);

/**
 * Polls until the unit says that it is ready, or says nothing about it: up to 1000 blocks, 10 ms apart, thus 10 s.
 *
 * A block that cannot be read counts as a busy one.
 */
int usctl_wait_ready(usdev_t **unit);

/**
 * Asks for the firmware version. Takes up to 1 s after the wait for ready, as do all queries below.
 *
 * @param out  set it to 0 before: a unit that answers with a single byte leaves the other one as it was
 */
int usctl_get_version(usdev_t **unit, uint16_t *out);

/// Asks for the firmware build number; as usctl_get_version().
int usctl_get_build(usdev_t **unit, uint16_t *out);

/**
 * Asks for the product name.
 *
 * @param out         receives the text, not zero-terminated
 * @param max         size of out in bytes; a longer text is cut
 * @param length_out  receives the number of bytes stored; after a failure it may be 0
 */
int usctl_get_productname(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out);

/// Asks for the build date; as usctl_get_productname().
int usctl_get_builddate(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out);

/// Asks for the build time; as usctl_get_productname().
int usctl_get_buildtime(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out);

/// Asks for the further identity text; as usctl_get_productname().
int usctl_get_info(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out);

/// Asks for the sample rate in Hz.
int usctl_get_hz(usdev_t **unit, uint32_t *out);

/// Asks for the auto power save setting; 0 is off.
int usctl_get_autopowersave(usdev_t **unit, uint8_t *out);

/// Switches auto power save; 0 is off.
int usctl_set_autopowersave(usdev_t **unit, uint8_t value);

/// Sends the setting USMSG_ID_SET_U8.
int usctl_set_u8(usdev_t **unit, uint8_t value);

/// Sends the setting USMSG_ID_SET_U32.
int usctl_set_u32(usdev_t **unit, uint32_t value);

/// Sends the query USMSG_ID_QUERY_U32 and reads its answer, for up to 30 s.
int usctl_query_u32(usdev_t **unit, uint32_t value, uint32_t *out);

/// Sends the command USMSG_ID_COMMAND_A2.
int usctl_cmd_a2(usdev_t **unit);

/**
 * Asks for the fader level of a channel.
 *
 * @param ch     usmsg_data_ch_t
 * @param ch_no  from 1
 */
int usctl_get_fader(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t *out);

/// Asks whether a channel is muted; 0 is not. As usctl_get_fader().
int usctl_get_mute(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t *out);

/// Asks for the stereo mode of a channel, usmsg_data_ch_type_t. As usctl_get_fader().
int usctl_get_stereo(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint32_t *out);

/// Sets the fader level of a channel. As usctl_get_fader().
int usctl_set_fader(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t value);

/// Mutes a channel; 0 unmutes it. As usctl_get_fader().
int usctl_set_mute(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t value);

/// Sets the stereo mode of a channel, usmsg_data_ch_type_t. As usctl_get_fader().
int usctl_set_stereo(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t value);

/// Routes a source channel to a destination channel. Channels as in usctl_get_fader().
int usctl_set_route(usdev_t **unit, uint32_t src_ch, uint32_t src_no, uint32_t dst_ch, uint32_t dst_no);

/**
 * Renders the unit's routes, and whatever else it says meanwhile, as text lines. Takes 0.4 s after the wait for ready.
 *
 * @param text        receives the lines, zero-terminated
 * @param capacity    of text in bytes
 * @param length_out  receives the length that all lines have together, which may be more than was stored
 *
 * After a read that failed, both hold the lines of the blocks before it.
 */
int usctl_dump_routes(usdev_t **unit, char *text, uint32_t capacity, uint32_t *length_out);

/**
 * Reads one block and takes the debug text of the unit's firmware from it. Sends nothing and does not wait.
 *
 * @param out         receives the text, not zero-terminated; unchanged when the block holds none
 * @param max         size of out in bytes; a longer text is cut
 * @param length_out  receives the number of bytes stored; unchanged when the block holds none
 */
int usctl_get_debug(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out);

/// Prints a text on standard output, up to a zero byte or `length` characters.
void usctl_print_debug(const uint8_t *text, uint32_t length);

/**
 * Moves a firmware image into the unit, at the pace that the unit sets, and waits until it confirms the whole image.
 *
 * Progress and the unit's debug text go to standard output. A failure ends the transfer where it stands: nothing is
 * undone or resumed.
 *
 * @param image         the image; null only with a size of 0
 * @param size          in bytes
 * @param progress_out  receives the number of bytes sent, after each block but the last, and the whole size only when
 *                      the unit has confirmed it. Set it to 0 before: a failure within the first block stores nothing
 * @return 0 when the unit has confirmed all of it
 *
 * Blocks for as long as the unit keeps answering; gives up when it stays silent for 100 s, grants nothing or the wrong
 * offset 1001 times in a row, or does not confirm within about 40 s.
 */
int usctl_fw_update(usdev_t **unit, const uint8_t *image, uint32_t size, uint32_t *progress_out);
}
