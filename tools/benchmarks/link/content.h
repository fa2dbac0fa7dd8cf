#pragma once

#include <cstdint>

/**
 * What typical messages say, as a program holds it. Each encoding turns the same structures into bytes and back.
 */

/// A text with its length; not zero-terminated.
struct Text
{
    uint8_t length;
    uint8_t bytes[16];

    bool operator==(const Text &) const = default;
};

/// Asks for the stereo mode of three channels.
struct ChannelRequest
{
    static constexpr int channels = 3;
    struct Channel
    {
        uint8_t ch;
        uint8_t ch_no;

        bool operator==(const Channel &) const = default;
    } channel[channels];

    bool operator==(const ChannelRequest &) const = default;
};

/// The fader level of a channel, after the ready flag.
struct ChannelReply
{
    uint8_t ready;
    uint8_t ch;
    uint8_t ch_no;
    uint8_t fader;

    bool operator==(const ChannelReply &) const = default;
};

/// All identity items, after the ready flag.
struct IdentityReply
{
    uint8_t ready;
    uint16_t version;
    uint16_t build;
    Text productname;
    Text builddate;
    Text buildtime;
    Text info;

    bool operator==(const IdentityReply &) const = default;
};

/// A whole block of a firmware image.
struct FirmwareBlock
{
    static constexpr uint8_t size = 61;
    uint8_t data[size];

    bool operator==(const FirmwareBlock &) const = default;
};

/// Room for a composed message, in any of the encodings.
inline constexpr uint32_t message_room = 128;
