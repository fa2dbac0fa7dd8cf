#pragma once

#include <chrono>

/**
 * The ports of the kernel's virtual host controller (module vhci_hcd), which this machine's own programs plug devices
 * made of software into. Plugging takes the rights of root.
 */
namespace usbip {

/// Whether this system has a virtual host controller.
bool has_ports();

/// The lowest free high-speed port; -1 when there is none.
int free_port();

/// Waits until a port is free: after an unplug, the kernel takes a moment to let go of the device. False when late.
bool wait_for_port(int port, std::chrono::milliseconds patience);

/**
 * Plugs a device into a port.
 *
 * @param port    a free one
 * @param socket  the host's end of a pair of stream sockets whose other end the device serves; the kernel keeps what
 *                it needs of it, so the caller closes it
 * @return 0, or an error number
 */
int plug_into(int port, int socket);

} // namespace usbip
