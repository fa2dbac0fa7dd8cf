#include "virtualdescriptors.h"

#include <algorithm>
#include <initializer_list>

namespace virtualusb {

namespace {

using Bytes = std::vector<uint8_t>;

// Entities of the audio function: what comes from the host goes to the line output, what comes from the microphones
// goes to the host.
constexpr uint8_t playback_source = 1;
constexpr uint8_t line_output = 2;
constexpr uint8_t microphones = 3;
constexpr uint8_t recording_sink = 4;

// What a terminal leads to or comes from.
constexpr uint16_t usb_stream = 0x0101;
constexpr uint16_t microphone = 0x0201;
constexpr uint16_t line_connector = 0x0603;

constexpr uint8_t audio_interfaces = 3;
constexpr uint8_t playback_interface = 1;
constexpr uint8_t recording_interface = 2;

// An endpoint's packets at 96 kHz, one each millisecond: 96 frames and one for a rate between two, of two channels of
// 16 bits.
constexpr uint16_t packet_size = 97 * 2 * 2;

constexpr uint8_t low(uint16_t value)
{
    return static_cast<uint8_t>(value);
}

constexpr uint8_t high(uint16_t value)
{
    return static_cast<uint8_t>(value >> 8U);
}

void append(Bytes *bytes, const Bytes &more)
{
    bytes->reserve(bytes->size() + more.size());
    for (const uint8_t byte : more)
        bytes->push_back(byte);
}

/// A descriptor: its length, then its type and the rest.
Bytes descriptor(std::initializer_list<uint8_t> type_and_rest)
{
    Bytes bytes(1 + type_and_rest.size());
    bytes[0] = static_cast<uint8_t>(bytes.size());
    std::copy(type_and_rest.begin(), type_and_rest.end(), bytes.begin() + 1);
    return bytes;
}

Bytes configuration(uint8_t interfaces, const Bytes &content)
{
    const auto total = static_cast<uint16_t>(9 + content.size());
    Bytes bytes = descriptor({
        configuration_descriptor_type, low(total), high(total), // of everything
        interfaces,
        1, // value that selects it
        0, // no name
        0x80, // powered by the bus
        250, // 500 mA, in units of 2 mA
    });
    append(&bytes, content);
    return bytes;
}

Bytes interface(uint8_t number, uint8_t alternate, uint8_t endpoints, uint8_t subclass)
{
    return descriptor({
        0x04, // interface
        number, alternate, endpoints,
        0x01, // audio
        subclass,
        0x20, // USB Audio Class 2
        0, // no name
    });
}

Bytes clock_source()
{
    return descriptor({
        0x24, 0x0A, // class-specific: clock source
        clock_entity,
        0x03, // inside the device, can be set
        0x07, // rate: can be read and set; validity: can be read
        0, // belongs to no terminal
        0, // no name
    });
}

/// Where sound comes into the audio function.
Bytes input_terminal(uint8_t number, uint16_t kind)
{
    return descriptor({
        0x24, 0x02, // class-specific: input terminal
        number, low(kind), high(kind),
        0, // belongs to no other terminal
        clock_entity, // in step with
        2, // channels:
        0x03, 0x00, 0x00, 0x00, // left and right front
        0, // without names
        0x00, 0x00, // no controls
        0, // no name
    });
}

/// Where sound leaves the audio function.
Bytes output_terminal(uint8_t number, uint16_t kind, uint8_t source)
{
    return descriptor({
        0x24, 0x03, // class-specific: output terminal
        number, low(kind), high(kind),
        0, // belongs to no other terminal
        source, // what it hears
        clock_entity, // in step with
        0x00, 0x00, // no controls
        0, // no name
    });
}

/// The entities of the audio function and how they are wired.
Bytes audio_entities()
{
    Bytes bytes = clock_source();
    append(&bytes, input_terminal(playback_source, usb_stream));
    append(&bytes, output_terminal(line_output, line_connector, playback_source));
    append(&bytes, input_terminal(microphones, microphone));
    append(&bytes, output_terminal(recording_sink, usb_stream, microphones));
    return bytes;
}

Bytes audio_control()
{
    const Bytes entities = audio_entities();
    const auto total = static_cast<uint16_t>(9 + entities.size());
    Bytes bytes = interface(0, 0, 0, 0x01);
    append(&bytes,
           descriptor({
               0x24, 0x01, // class-specific: header
               0x00, 0x02, // version 2.0
               0x08, // an input and output box
               low(total), high(total), // of this header and the entities
               0, // no controls
           }));
    append(&bytes, entities);
    return bytes;
}

/// One direction of the audio: silent in the first setting, running in the second.
Bytes audio_stream(uint8_t number, uint8_t terminal, uint8_t endpoint)
{
    Bytes bytes = interface(number, 0, 0, 0x02);
    append(&bytes, interface(number, 1, 1, 0x02));
    append(&bytes,
           descriptor({
               0x24, 0x01, // class-specific: general
               terminal,
               0, // no controls
               0x01, // format type I
               0x01, 0x00, 0x00, 0x00, // PCM
               2, // channels:
               0x03, 0x00, 0x00, 0x00, // left and right front
               0, // without names
           }));
    append(&bytes,
           descriptor({
               0x24, 0x02, // class-specific: format
               0x01, // type I
               2, // bytes per sample
               16, // bits of them used
           }));
    append(&bytes,
           descriptor({
               0x05, // endpoint
               endpoint,
               0x0D, // isochronous, in step with the bus, data
               low(packet_size), high(packet_size),
               4, // every 2^(4-1) microframes: each millisecond
           }));
    append(&bytes,
           descriptor({
               0x25, 0x01, // class-specific endpoint: general
               0, // any packet size
               0, // no controls
               0, // lock delay:
               0x00, 0x00, // not told
           }));
    return bytes;
}

Bytes audio_function()
{
    Bytes bytes = descriptor({
        0x0B, // interface association
        0, audio_interfaces, // from the first interface on
        0x01, // audio
        0x00, // no subclass
        0x20, // USB Audio Class 2
        0, // no name
    });
    append(&bytes, audio_control());
    append(&bytes, audio_stream(playback_interface, playback_source, playback_endpoint));
    append(&bytes, audio_stream(recording_interface, recording_sink, recording_endpoint));
    return bytes;
}

Bytes vendor_function()
{
    return descriptor({
        0x04, // interface
        0, // number
        0, // the only setting
        0, // no endpoints
        0xFF, 0x00, 0x00, // of its maker's own kind
        0, // no name
    });
}

} // namespace

std::vector<uint8_t> device_descriptor_of(const Description &description)
{
    const bool is_audio = description.function == Function::Audio;
    return descriptor({
        device_descriptor_type, 0x00, 0x02, // USB 2.0
        // An audio function of several interfaces calls for the class of interface associations.
        uint8_t(is_audio ? 0xEF : 0x00), uint8_t(is_audio ? 0x02 : 0x00), uint8_t(is_audio ? 0x01 : 0x00),
        64, // bytes in a packet of endpoint 0
        low(description.vendor_id), high(description.vendor_id), low(description.product_id),
        high(description.product_id), low(description.release), high(description.release), 1, 2,
        3, // numbers of the strings: manufacturer, product, serial number
        1, // configuration
    });
}

std::vector<uint8_t> configuration_descriptor_of(const Description &description)
{
    if (description.function == Function::Audio)
        return configuration(audio_interfaces, audio_function());
    return configuration(1, vendor_function());
}

} // namespace virtualusb
