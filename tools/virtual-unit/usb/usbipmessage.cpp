#include "usbipmessage.h"

#include <cerrno>

namespace usbip {

namespace {

enum : uint32_t {
    command_submit = 1,
    command_unlink = 2,
    return_submit = 3,
    return_unlink = 4,
};

// Places in the header.
constexpr size_t at_command = 0;
constexpr size_t at_number = 4;
constexpr size_t at_direction = 12;
constexpr size_t at_endpoint = 16;
constexpr size_t at_unlinked = 20;
constexpr size_t at_length = 24;
constexpr size_t at_packets = 32;
constexpr size_t at_interval = 36;
constexpr size_t at_setup = 40;

uint32_t u32_at(std::span<const uint8_t> bytes, size_t position)
{
    uint32_t value = 0;
    for (const uint8_t byte : bytes.subspan(position, 4))
        value = value << 8U | byte;
    return value;
}

void append_u32(std::vector<uint8_t> *bytes, uint32_t value)
{
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes->push_back(static_cast<uint8_t>(value >> shift));
    }
}

/// The reply's header; the fields about device, direction and endpoint stay empty, since the number says all.
std::vector<uint8_t> reply_header(uint32_t command, uint32_t number, int32_t status)
{
    std::vector<uint8_t> bytes;
    append_u32(&bytes, command);
    append_u32(&bytes, number);
    bytes.resize(at_unlinked);
    append_u32(&bytes, static_cast<uint32_t>(status));
    return bytes;
}

std::vector<uint8_t> submit_reply(const Submit &submit, int32_t status, uint32_t length)
{
    std::vector<uint8_t> bytes = reply_header(return_submit, submit.number, status);
    append_u32(&bytes, length);
    append_u32(&bytes, 0); // first frame
    append_u32(&bytes, submit.packets);
    bytes.resize(header_size);
    return bytes;
}

} // namespace

Header header_from(std::span<const uint8_t, header_size> bytes)
{
    Header header;
    header.number = u32_at(bytes, at_number);
    switch (u32_at(bytes, at_command)) {
    case command_submit: {
        header.kind = Header::Kind::Submit;
        Submit &submit = header.submit;
        submit.number = header.number;
        submit.to_host = u32_at(bytes, at_direction) != 0;
        submit.endpoint = static_cast<uint8_t>(u32_at(bytes, at_endpoint));
        submit.length = u32_at(bytes, at_length);
        // "None" is 0 from some kernels and -1 from others.
        const auto packets = static_cast<int32_t>(u32_at(bytes, at_packets));
        submit.packets = packets > 0 ? static_cast<uint32_t>(packets) : 0;
        submit.interval = u32_at(bytes, at_interval);
        for (size_t i = 0; i < submit.setup.size(); ++i)
            submit.setup[i] = bytes[at_setup + i];
        break;
    }
    case command_unlink:
        header.kind = Header::Kind::Unlink;
        header.unlinked = u32_at(bytes, at_unlinked);
        break;
    default:
        break;
    }
    return header;
}

std::vector<Packet> packets_from(std::span<const uint8_t> bytes)
{
    std::vector<Packet> packets;
    for (size_t position = 0; position + packet_size <= bytes.size(); position += packet_size) {
        packets.push_back({u32_at(bytes, position), u32_at(bytes, position + 4), 0});
    }
    return packets;
}

std::vector<uint8_t> control_reply(const Submit &submit, int32_t status, uint32_t length,
                                   std::span<const uint8_t> data_to_host)
{
    std::vector<uint8_t> bytes = submit_reply(submit, status, length);
    bytes.insert(bytes.end(), data_to_host.begin(), data_to_host.end());
    return bytes;
}

std::vector<uint8_t> isochronous_reply(const Submit &submit, std::span<const Packet> packets,
                                       std::span<const uint8_t> data_to_host)
{
    uint32_t length = 0;
    for (const Packet &packet : packets)
        length += packet.actual_length;
    std::vector<uint8_t> bytes = submit_reply(submit, 0, length);
    bytes.insert(bytes.end(), data_to_host.begin(), data_to_host.end());
    for (const Packet &packet : packets) {
        append_u32(&bytes, packet.offset);
        append_u32(&bytes, packet.length);
        append_u32(&bytes, packet.actual_length);
        append_u32(&bytes, 0); // status
    }
    return bytes;
}

std::vector<uint8_t> unlink_reply(uint32_t number, bool was_open)
{
    std::vector<uint8_t> bytes = reply_header(return_unlink, number, was_open ? -ECONNRESET : 0);
    bytes.resize(header_size);
    return bytes;
}

} // namespace usbip
