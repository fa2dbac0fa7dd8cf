#pragma once

#include <cstdint>

/**
 * @file
 * Device discovery and transport: finds the recorder unit among the audio device interfaces and moves one message per
 * call through the one I/O control of its driver.
 *
 * No handle stays open: each transfer opens the control path, performs one I/O control and closes it again. All calls
 * block until the system has answered; the functions are reentrant and have no locks. Failures print lines on
 * standard output. Rests on the platform operations of usplatform.h.
 */

extern "C" {

/// Units of a path, the terminating zero included.
inline constexpr uint32_t USDEV_PATH_UNITS = 260;

/// Slots of a device list.
inline constexpr uint8_t USDEV_SLOTS = 10;

/// The driver's one I/O control code: unknown device type, first function of vendors, buffered, any access.
inline constexpr uint32_t USDEV_IOCTL_TRANSFER = 0x00222000;

/// Request number of a write, in the transfer header.
inline constexpr uint8_t USDEV_REQ_WRITE = 29;

/// Request number of a read.
inline constexpr uint8_t USDEV_REQ_READ = 30;

/// Function code of the driver, in the transfer header.
inline constexpr uint16_t USDEV_FUNCTION = 23;

/// Direction of a transfer from the host to the unit, in the transfer header.
inline constexpr uint32_t USDEV_DIRECTION_WRITE = 0;

/// Direction of a transfer from the unit to the host.
inline constexpr uint32_t USDEV_DIRECTION_READ = 1;

/// Result of a transfer that the unit did not respond to just then: a retry is worth it.
inline constexpr int USDEV_TRANSIENT = 2;

/// One device slot. Zeroed, it names no device.
struct usdev_t
{
    uint64_t reserved; ///< always 0
    char16_t path[USDEV_PATH_UNITS]; ///< device interface path, zero-terminated
};

/// The device list. Zero it before its first use.
struct usdev_list_t
{
    usdev_t slots[USDEV_SLOTS]; ///< only the first is ever filled
    uint8_t scan_index; ///< next slot number to probe, 0 to USDEV_SLOTS
};

#pragma pack(push, 1)
/// The header before the data of every I/O control, as it goes to the driver: little-endian, no gaps.
struct usdev_request_t
{
    uint32_t direction; ///< USDEV_DIRECTION_WRITE or USDEV_DIRECTION_READ
    uint32_t length; ///< bytes that follow the header in a write; 0 in a read
    uint16_t function; ///< always USDEV_FUNCTION
    uint16_t value; ///< always 0
    uint16_t index; ///< always 0
    uint8_t reserved; ///< 0
    uint8_t request; ///< USDEV_REQ_WRITE or USDEV_REQ_READ
};
#pragma pack(pop)

static_assert(sizeof(usdev_request_t) == 16, "the driver takes a header of 16 bytes");

/// The least that the driver takes: four bytes follow the header, also where there is no data.
inline constexpr uint32_t USDEV_SMALLEST_REQUEST = sizeof(usdev_request_t) + 4;

/**
 * Prepares a scan from the first slot number; the slots stay as they are.
 *
 * @return 0, always
 */
int usdev_list_init(usdev_list_t *list);

/**
 * Goes on scanning for the unit.
 *
 * @param dev_out  receives the address of the first slot, which lives as long as the list
 * @return 0 when found; 1 when no slot number is left, and then at once on each call until usdev_list_init()
 */
int usdev_list_next(usdev_list_t *list, usdev_t **dev_out);

/**
 * Scans the device interfaces for those of a driver. The last one that matches wins.
 *
 * @param svc_name       service name of the driver, compared exactly; null matches nothing
 * @param path_out       receives the interface path, cut to its capacity and zero-terminated; null matches nothing
 * @param path_capacity  of path_out in units, the terminating zero included
 * @param status_out     receives 0, or 1 when the path had to be cut; may be null
 * @return 1 when found, 0 otherwise
 */
int usdev_find(const char16_t *svc_name, char16_t *path_out, uint32_t path_capacity, int *status_out);

/**
 * Opens the control path of a device.
 *
 * @param if_path  interface path; its last part, the reference string, is replaced by that of the control path
 * @return a handle of the platform, to be closed by the caller, or USPLATFORM_INVALID_HANDLE
 */
intptr_t usdev_open(const char16_t *if_path);

/**
 * Performs one I/O control with USDEV_IOCTL_TRANSFER.
 *
 * @param out_length  bytes that the driver must return, no more and no fewer
 * @return 0 on success, USDEV_TRANSIENT, or 1 on any other failure
 */
int usdev_ioctl(intptr_t handle, const void *in, uint32_t in_length, void *out, uint32_t out_length);

/**
 * Writes one message to a device.
 *
 * @param device   null counts as a failure
 * @param request  USDEV_REQ_WRITE
 * @param value    0
 * @param index    0
 * @param length   of the message, 1 to 64 bytes
 * @param data     the message; not null
 * @return as usdev_ioctl()
 */
int usdev_write(const usdev_t *device, uint8_t request, uint16_t value, uint16_t index, uint32_t length,
                const uint8_t *data);

/**
 * Reads one block from a device.
 *
 * @param device   null counts as a failure
 * @param request  USDEV_REQ_READ
 * @param value    0
 * @param index    0
 * @param length   of the block, 64 bytes
 * @param buffer   receives exactly length bytes; undefined after a failure
 * @return as usdev_ioctl()
 */
int usdev_read(const usdev_t *device, uint8_t request, uint16_t value, uint16_t index, uint32_t length,
               uint8_t *buffer);

/**
 * Prints the last system error and the system's text for it.
 *
 * @return its code
 */
uint32_t usdev_last_error(void);
}
