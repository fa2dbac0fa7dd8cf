#include "usbtransfer_linux.h"

#include "usplatform.h"

#include <cerrno>
#include <fcntl.h>
#include <libusb.h>
#include <unistd.h>

namespace usbtransfer {

struct Connection
{
    int node = -1;
    libusb_context *context = nullptr;
    libusb_device_handle *device = nullptr;
};

namespace {

constexpr uint8_t to_device = 0x40; // a vendor's request, host to device, addressed to the device itself
constexpr uint8_t from_device = 0xC0; // the same, device to host

uint32_t error_of_open(int system_error)
{
    switch (system_error) {
    case EACCES:
    case EPERM:
        return USPLATFORM_ERROR_ACCESS_DENIED;
    case ENOENT:
    case ENODEV:
    case ENXIO:
        return USPLATFORM_ERROR_NOT_FOUND;
    default:
        return USPLATFORM_ERROR_IO;
    }
}

uint32_t error_of_usb(int result)
{
    switch (result) {
    case LIBUSB_ERROR_PIPE: // the unit stalls what it cannot answer for the moment
    case LIBUSB_ERROR_TIMEOUT:
        return USPLATFORM_ERROR_TRANSIENT;
    case LIBUSB_ERROR_NO_DEVICE:
        return USPLATFORM_ERROR_NOT_CONNECTED;
    case LIBUSB_ERROR_ACCESS:
        return USPLATFORM_ERROR_ACCESS_DENIED;
    case LIBUSB_ERROR_NOT_FOUND:
        return USPLATFORM_ERROR_NOT_FOUND;
    default:
        // A device that is pulled out may give this once before the system says that it is gone.
        return USPLATFORM_ERROR_IO;
    }
}

/**
 * Hands an open node to libusb.
 *
 * Without discovery libusb looks at this device alone: it lists no others, starts no thread that waits for events of
 * udev, and finds a device that was plugged in a moment ago even where no udev runs. The option belongs to the process;
 * nothing else in it uses libusb. The price is one request more, for the number of the active configuration, which
 * libusb otherwise reads in sysfs.
 */
int attach(Connection *connection)
{
    libusb_set_option(nullptr, LIBUSB_OPTION_NO_DEVICE_DISCOVERY);
    const int result = libusb_init(&connection->context);
    if (result != LIBUSB_SUCCESS)
        return result;
    return libusb_wrap_sys_device(connection->context, connection->node, &connection->device);
}

/// @return bytes moved, or a negative error of libusb
int transfer(Connection *connection, uint8_t type, const Request &request, uint8_t *data)
{
    return libusb_control_transfer(connection->device, type, request.request, request.value, request.index, data,
                                   request.length, timeout_ms);
}

} // namespace

void CloseConnection::operator()(Connection *connection) const
{
    if (connection->device != nullptr)
        libusb_close(connection->device);
    if (connection->context != nullptr)
        libusb_exit(connection->context);
    if (connection->node >= 0)
        ::close(connection->node); // libusb leaves it open: it was ours
    delete connection;
}

OwnedConnection open(const char *node, uint32_t *error)
{
    OwnedConnection connection(new Connection);
    connection->node = ::open(node, O_RDWR | O_CLOEXEC);
    if (connection->node < 0) {
        *error = error_of_open(errno);
        return nullptr;
    }
    const int result = attach(connection.get());
    if (result != LIBUSB_SUCCESS) {
        *error = error_of_usb(result);
        return nullptr;
    }
    return connection;
}

uint32_t send(Connection *connection, const Request &request, const uint8_t *data)
{
    // libusb takes one kind of pointer for both directions; it only reads what goes out.
    const int moved = transfer(connection, to_device, request, const_cast<uint8_t *>(data));
    if (moved < 0)
        return error_of_usb(moved);
    // Half a message is not a message: the unit may have carried out anything or nothing.
    if (moved != request.length)
        return USPLATFORM_ERROR_IO;
    return 0;
}

uint32_t fetch(Connection *connection, const Request &request, uint8_t *data, uint32_t *received)
{
    const int moved = transfer(connection, from_device, request, data);
    if (moved < 0)
        return error_of_usb(moved);
    *received = static_cast<uint32_t>(moved);
    return 0;
}

} // namespace usbtransfer
