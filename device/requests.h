#pragma once

#include "usmsg.h"

#include <cstdint>

/**
 * The requests to the unit that wait for a message, and how they are packed into one.
 *
 * Plain data: the owner decides when a message is made and what becomes of it. Zeroed, nothing is pending.
 */
namespace requests {

/// The one channel of the direct monitor of inputs 1-2, on which monitor mode, input volume and fader lie.
inline constexpr uint8_t monitorNumber = 1;

/// Audio inputs are numbered from 1 to this.
inline constexpr uint8_t audioInputs = 2;

/// Questions to the unit. Each is 0, or 1 while it is pending.
struct Queries
{
    uint8_t version = 0; ///< the whole identity
    uint8_t hz = 0; ///< the sample rate
    uint8_t autopowersave = 0; ///< auto power save
    uint8_t stereo = 0; ///< the stereo mode of the direct monitor
    uint8_t mute = 0; ///< no flag but a counter: the audio input to be asked next, 1 or 2; 0 is none
    uint8_t fader = 0; ///< the level of the direct monitor
};

/// A setting of the unit that waits to be sent.
template <typename Value>
struct Setting
{
    uint8_t pending = 0; ///< 0, or 1 while it waits
    Value value = 0; ///< to be sent
};

/// A setting of one channel: the value asked for last, and whether it still waits to be sent.
struct ChannelSetting
{
    uint32_t ch = 0; ///< usmsg_data_ch_t
    uint8_t ch_no = 0; ///< from 1
    uint8_t value = 0; ///< asked for last, whether or not it reached the unit; 0 at first
    uint8_t pending = 0; ///< 0, or 1 while it waits

    /**
     * Takes a new value.
     *
     * @return whether it differs from the one before; only then it is pending
     */
    bool store(uint32_t new_ch, uint8_t new_ch_no, uint8_t new_value);
};

/// Settings of the unit.
struct Settings
{
    Setting<uint8_t> autopowersave; ///< 0 is off
    Setting<uint32_t> monitorMode; ///< usmsg_data_ch_type_t; the low byte is sent
    Setting<uint32_t> u32; ///< USMSG_ID_SET_U32
    ChannelSetting inputSwitches[audioInputs]; ///< from audio input 1
    ChannelSetting inputVolume; ///< level of the direct monitor
};

/**
 * Appends the pending requests to a message, as many as fit, always in the same order. What was appended is no longer
 * pending; what did not fit stays for the next message.
 *
 * Packing stops at the first query or setting that does not fit, with two exceptions: mutes that do not fit leave their
 * counter at that input and let the fader query try, and a fader query that does not fit lets the settings try.
 * Settings of a channel are appended whole or not at all; a query of a channel may be cut, and is then asked again
 * whole.
 *
 * @param message  not ended by this function
 */
void appendRequests(Queries *queries, Settings *settings, usmsg_buf_t *message);

} // namespace requests
