#include "usplatform.h"

#include "usbdevs_win.h"
#include "usbpath_linux.h"
#include "usbsysfs_linux.h"
#include "usbtransfer_linux.h"
#include "userrortext_linux.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <sys/mman.h>

// The platform on Linux: devices are found in sysfs, and the driver's one I/O control is a control transfer of USB. An
// I/O control handle is a connection to a device, a set handle the list of devices that a scan has found.

namespace {

using Set = std::vector<usbsysfs::Device>;

// The length field of a control transfer can hold no more.
constexpr uint32_t longest_transfer = UINT16_MAX;

// For a request that the driver would refuse; a number of Windows, like the other codes.
constexpr uint32_t error_invalid_parameter = 87;

constinit thread_local uint32_t error = 0;

const Set &set_of(intptr_t handle)
{
    return *reinterpret_cast<const Set *>(handle);
}

/// Copies a text with its terminating zero; 1 when it fits into `units`, 0 without a copy otherwise.
int copy_whole(std::u16string_view text, char16_t *to, uint32_t units)
{
    if (text.size() >= units)
        return 0;
    std::copy(text.begin(), text.end(), to);
    to[text.size()] = 0;
    return 1;
}

int fail(uint32_t code)
{
    error = code;
    return 0;
}

int start()
{
    return 0;
}

// The link asks for one class only, that of audio.
intptr_t enumerate(const usplatform_class_t *)
{
    std::optional<Set> found = usbsysfs::audio_devices(usbsysfs::devices_folder);
    if (!found) {
        fail(USPLATFORM_ERROR_ACCESS_DENIED);
        return USPLATFORM_INVALID_HANDLE;
    }
    return reinterpret_cast<intptr_t>(new Set(std::move(*found)));
}

void end_enumeration(intptr_t set)
{
    delete reinterpret_cast<Set *>(set);
}

int has_device(intptr_t set, uint32_t device)
{
    return device < set_of(set).size() ? 1 : 0;
}

int service(intptr_t set, uint32_t device, char16_t *text, uint32_t size)
{
    const std::string name = usbsysfs::service_name(set_of(set)[device]);
    // Drivers have ASCII names; a name that is not ASCII cannot match.
    const std::u16string wide(name.begin(), name.end());
    return name.empty() ? 0 : copy_whole(wide, text, size / static_cast<uint32_t>(sizeof(char16_t)));
}

int instance_id(intptr_t set, uint32_t device, char16_t *text, uint32_t units)
{
    return copy_whole(usbpath::instance(set_of(set)[device].name), text, units);
}

/// A device has one interface for the link, however many audio interfaces it has: its control path is one.
int has_interface(intptr_t, uint32_t, const usplatform_class_t *, uint32_t number)
{
    return number == 0 ? 1 : 0;
}

std::u16string path_of(intptr_t set, uint32_t device)
{
    return usbpath::interface_path(set_of(set)[device].name);
}

uint32_t detail_size(intptr_t set, uint32_t device, const usplatform_class_t *, uint32_t)
{
    const size_t path_bytes = (path_of(set, device).size() + 1) * sizeof(char16_t);
    return static_cast<uint32_t>(offsetof(usplatform_detail_t, path) + path_bytes);
}

int detail(intptr_t set, uint32_t device, const usplatform_class_t *, uint32_t, usplatform_detail_t *record,
           uint32_t size)
{
    const std::u16string path = path_of(set, device);
    const size_t path_bytes = (path.size() + 1) * sizeof(char16_t);
    if (record->size != sizeof(usplatform_detail_t) || size < offsetof(usplatform_detail_t, path) + path_bytes)
        return fail(error_invalid_parameter);
    // The record ends after the path, not after its declared member.
    std::memcpy(reinterpret_cast<char *>(record) + offsetof(usplatform_detail_t, path), path.c_str(), path_bytes);
    return 1;
}

intptr_t open(const char16_t *path)
{
    const std::optional<std::string> name = usbpath::device_of_control_path(path);
    // The address is looked up each time: it changes when the unit is plugged in again, the path does not.
    const std::optional<usbsysfs::Address> address =
        name ? usbsysfs::unit_address(usbsysfs::devices_folder, *name) : std::nullopt;
    if (!address) {
        fail(USPLATFORM_ERROR_NOT_FOUND);
        return USPLATFORM_INVALID_HANDLE;
    }
    uint32_t reason = 0;
    usbtransfer::OwnedConnection connection = usbtransfer::open(usbsysfs::node(*address).c_str(), &reason);
    if (!connection) {
        fail(reason);
        return USPLATFORM_INVALID_HANDLE;
    }
    return reinterpret_cast<intptr_t>(connection.release());
}

usbtransfer::Request request_of(const usdev_request_t &header, uint32_t length)
{
    return {header.request, header.value, header.index, static_cast<uint16_t>(length)};
}

int write(usbtransfer::Connection *connection, const usdev_request_t &header, const uint8_t *data, uint32_t room)
{
    if (header.length > std::min(room, longest_transfer))
        return fail(error_invalid_parameter);
    const uint32_t result = usbtransfer::send(connection, request_of(header, header.length), data);
    return result == 0 ? 1 : fail(result);
}

int read(usbtransfer::Connection *connection, const usdev_request_t &header, void *out, uint32_t out_length,
         uint32_t *returned)
{
    if (out == nullptr || out_length == 0 || out_length > longest_transfer)
        return fail(error_invalid_parameter);
    const uint32_t result =
        usbtransfer::fetch(connection, request_of(header, out_length), static_cast<uint8_t *>(out), returned);
    return result == 0 ? 1 : fail(result);
}

int control(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
            uint32_t *returned)
{
    *returned = 0;
    usdev_request_t header;
    if (code != USDEV_IOCTL_TRANSFER || in_length < USDEV_SMALLEST_REQUEST)
        return fail(error_invalid_parameter);
    std::memcpy(&header, in, sizeof(header));
    if (header.function != USDEV_FUNCTION)
        return fail(error_invalid_parameter);
    auto *const connection = reinterpret_cast<usbtransfer::Connection *>(handle);
    switch (header.direction) {
    case USDEV_DIRECTION_WRITE:
        return write(connection, header, static_cast<const uint8_t *>(in) + sizeof(header),
                     in_length - static_cast<uint32_t>(sizeof(header)));
    case USDEV_DIRECTION_READ:
        return read(connection, header, out, out_length, returned);
    default:
        return fail(error_invalid_parameter);
    }
}

void close(intptr_t handle)
{
    usbtransfer::CloseConnection()(reinterpret_cast<usbtransfer::Connection *>(handle));
}

/// Stands before allocated memory: the system needs the size again to release it.
struct alignas(std::max_align_t) Allocation
{
    size_t size;
};

void *allocate(uint32_t size)
{
    const size_t whole = sizeof(Allocation) + size;
    void *const pages = ::mmap(nullptr, whole, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED)
        return nullptr;
    auto *const allocation = static_cast<Allocation *>(pages);
    allocation->size = whole;
    return allocation + 1;
}

void release(void *memory)
{
    if (memory == nullptr)
        return;
    Allocation *const allocation = static_cast<Allocation *>(memory) - 1;
    ::munmap(allocation, allocation->size);
}

uint32_t last_error()
{
    return error;
}

void error_text(uint32_t code, char16_t *text, uint32_t units)
{
    userrortext::copy_as_format(userrortext::of(code), text, units);
}

void sleep(uint32_t milliseconds)
{
    timespec rest = {static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    // A signal ends a sleep early: sleep for the rest.
    while (::nanosleep(&rest, &rest) != 0 && errno == EINTR) { }
}

} // namespace

constinit const usplatform_t usplatform_default = {
    .start = start,
    .enumerate = enumerate,
    .end_enumeration = end_enumeration,
    .has_device = has_device,
    .service = service,
    .instance_id = instance_id,
    .has_interface = has_interface,
    .detail_size = detail_size,
    .detail = detail,
    .open = open,
    .control = control,
    .close = close,
    .allocate = allocate,
    .release = release,
    .last_error = last_error,
    .error_text = error_text,
    .sleep = sleep,
};
