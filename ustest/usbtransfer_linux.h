#pragma once

#include <cstdint>
#include <memory>

/**
 * Control transfers between the system and one USB device, through libusb.
 *
 * All of them are vendor requests addressed to the device itself. They need no interface, so none is claimed and no
 * driver is detached: the sound driver keeps the audio interfaces and plays on. Errors are usplatform_error_t.
 */
namespace usbtransfer {

/// No transfer lasts longer than this: a unit that does not answer in time is tried again by the link.
inline constexpr unsigned timeout_ms = 500;

/// A device in use. Release it soon: no system resource may outlive an exchange.
struct Connection;

struct CloseConnection
{
    void operator()(Connection *connection) const;
};

using OwnedConnection = std::unique_ptr<Connection, CloseConnection>;

/**
 * Opens a device. Blocks for a second at most, and that only when the device answers nothing at all.
 *
 * @param node   path of its node
 * @param error  receives why it could not be opened
 * @return null after a failure
 */
OwnedConnection open(const char *node, uint32_t *error);

/// The setup of a vendor request.
struct Request
{
    uint8_t request;
    uint16_t value;
    uint16_t index;
    uint16_t length; ///< of the data, in bytes
};

/**
 * Sends data to the device. Blocks for timeout_ms at most.
 *
 * @return 0 when the device has taken all of it, an error otherwise
 */
uint32_t send(Connection *connection, const Request &request, const uint8_t *data);

/**
 * Fetches data from the device. Blocks for timeout_ms at most.
 *
 * @param data      receives request.length bytes at most
 * @param received  receives how many; the device may give fewer than asked for
 * @return 0 on success, an error otherwise
 */
uint32_t fetch(Connection *connection, const Request &request, uint8_t *data, uint32_t *received);

} // namespace usbtransfer
