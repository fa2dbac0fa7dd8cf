#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

/**
 * The messages of USB/IP between the kernel's virtual host controller and a device made of software.
 *
 * Each message is a header of 48 bytes, big-endian, and what belongs to it: the data to the device or from it, and for
 * isochronous transfers the list of their packets.
 */
namespace usbip {

inline constexpr size_t header_size = 48;

/// A transfer that the host asks for.
struct Submit
{
    uint32_t number = 0; ///< names the transfer in all that follows
    bool to_host = false;
    uint8_t endpoint = 0; ///< without the direction
    uint32_t length = 0; ///< of the data, or of the room for them
    uint32_t packets = 0; ///< isochronous packets; 0 for other transfers
    uint32_t interval = 0; ///< between these packets, in microframes of 125 µs
    std::array<uint8_t, 8> setup = {}; ///< control transfers only
};

/// What a header says.
struct Header
{
    enum class Kind { Submit, Unlink, Unknown };
    Kind kind = Kind::Unknown;
    Submit submit;
    uint32_t number = 0; ///< of an unlink message itself
    uint32_t unlinked = 0; ///< the transfer that it calls off
};

/// A packet of an isochronous transfer.
struct Packet
{
    uint32_t offset = 0; ///< of its data within the transfer's
    uint32_t length = 0;
    uint32_t actual_length = 0;
};

inline constexpr size_t packet_size = 16;

Header header_from(std::span<const uint8_t, header_size> bytes);

/// @param bytes  packet_size bytes for each packet
std::vector<Packet> packets_from(std::span<const uint8_t> bytes);

/// The reply to a control transfer: `status` is 0 or a negative error number; `length` counts data in either direction.
std::vector<uint8_t> control_reply(const Submit &submit, int32_t status, uint32_t length,
                                   std::span<const uint8_t> data_to_host);

/// The reply to an isochronous transfer of which each packet has come through.
std::vector<uint8_t> isochronous_reply(const Submit &submit, std::span<const Packet> packets,
                                       std::span<const uint8_t> data_to_host);

/// The reply to an unlink message: whether the transfer was still open and is called off now.
std::vector<uint8_t> unlink_reply(uint32_t number, bool was_open);

} // namespace usbip
