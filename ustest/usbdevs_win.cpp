#include "usbdevs_win.h"

#include "usdiagnostics.h"
#include "usplatform.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

using usdiagnostics::print_error;
using usdiagnostics::print_wide;
using usdiagnostics::print_wide_error;

namespace {

constexpr const char *module_path = "../../ustest/usbdevs_win.cpp";

constexpr const char16_t *service_name = u"kd-mx";
constexpr std::u16string_view control_suffix = u"\\kd-mx";

// By value: system headers give the name of this category to different numbers.
constexpr usplatform_class_t audio_class = {
    0x65E8773E, 0x8F56, 0x11D0, {0xA3, 0xB9, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

/// Whether two zero-terminated texts are equal; the first may be null and is then equal to nothing.
bool equal(const char16_t *left, const char16_t *right)
{
    return left != nullptr && std::u16string_view(left) == right;
}

/**
 * Copies a text into a buffer and terminates it.
 *
 * @param from      need not be zero-terminated within its units
 * @param capacity  of the buffer in units, the zero included
 * @return 0 when the whole text fits, 1 when it had to be cut
 */
int copy_text(char16_t *to, uint32_t capacity, const char16_t *from, uint32_t units)
{
    const uint32_t length = static_cast<uint32_t>(std::find(from, from + units, u'\0') - from);
    if (capacity == 0)
        return 1;
    const uint32_t copied = std::min(length, capacity - 1);
    std::copy_n(from, copied, to);
    to[copied] = 0;
    return copied == length ? 0 : 1;
}

uint32_t text_length(const char16_t *text)
{
    return static_cast<uint32_t>(std::u16string_view(text).size());
}

/// Prints an error code with the system's text for it.
void print_system_error(uint32_t code)
{
    std::printf("GetLastError() = %#x\n", code);
    char16_t text[512] = {};
    usplatform()->error_text(code, text, std::size(text));
    print_wide(text);
}

/// Where the interface scan puts what it finds.
struct found_t
{
    char16_t *path;
    uint32_t capacity;
    int *status;
};

void store_path(const found_t &found, const char16_t *path, uint32_t units)
{
    std::fill_n(found.path, found.capacity, u'\0');
    const int status = copy_text(found.path, found.capacity, path, units);
    if (found.status != nullptr)
        *found.status = status;
}

bool is_of_service(intptr_t set, uint32_t device, const char16_t *svc_name)
{
    // Two bytes more than the system may write: the text always ends with a zero.
    char16_t name[128] = {};
    if (usplatform()->service(set, device, name, sizeof(name) - sizeof(char16_t)) == 0)
        name[0] = 0;
    return equal(svc_name, name);
}

/// Reads the path of one interface; true when it was wanted and stored.
bool scan_interface(intptr_t set, uint32_t device, uint32_t number, bool wanted, const found_t &found)
{
    const uint32_t size = usplatform()->detail_size(set, device, &audio_class, number);
    if (size < sizeof(usplatform_detail_t)) {
        print_wide_error();
        return false;
    }
    auto *const detail = static_cast<usplatform_detail_t *>(std::calloc(1, size));
    if (detail == nullptr) {
        print_wide_error();
        return false;
    }
    detail->size = sizeof(usplatform_detail_t);
    const bool read = usplatform()->detail(set, device, &audio_class, number, detail, size) != 0;
    if (!read)
        print_wide_error();
    const bool stored = read && wanted && found.path != nullptr;
    if (stored) {
        const auto *const path = reinterpret_cast<const char16_t *>(reinterpret_cast<const char *>(detail)
                                                                    + offsetof(usplatform_detail_t, path));
        store_path(found, path, static_cast<uint32_t>((size - offsetof(usplatform_detail_t, path)) / sizeof(char16_t)));
    }
    std::free(detail);
    return stored;
}

bool scan_device(intptr_t set, uint32_t device, const char16_t *svc_name, const found_t &found)
{
    const bool wanted = is_of_service(set, device, svc_name);
    char16_t instance[128] = {};
    if (usplatform()->instance_id(set, device, instance, std::size(instance)) == 0)
        print_wide_error();
    bool stored = false;
    for (uint32_t number = 0; usplatform()->has_interface(set, device, &audio_class, number) != 0; ++number)
        stored = scan_interface(set, device, number, wanted, found) || stored;
    return stored;
}

/// Only the first slot number stands for a unit; the driver knows no more than one.
bool probe(usdev_list_t *list, uint8_t number)
{
    if (number != 0)
        return false;
    return usdev_find(service_name, list->slots[0].path, USDEV_PATH_UNITS, nullptr) == 1;
}

usdev_request_t request_header(uint32_t direction, uint32_t length, uint8_t request, uint16_t value, uint16_t index)
{
    return {direction, length, USDEV_FUNCTION, value, index, 0, request};
}

int write_through(intptr_t handle, const usdev_request_t &header, const uint8_t *data)
{
    if (header.length > UINT32_MAX - sizeof(header))
        return print_error(module_path);
    const uint32_t size = std::max<uint32_t>(sizeof(header) + header.length, USDEV_SMALLEST_REQUEST);
    auto *const buffer = static_cast<uint8_t *>(usplatform()->allocate(size));
    if (buffer == nullptr)
        return print_error(module_path);
    std::memset(buffer, 0, size);
    std::memcpy(buffer + sizeof(header), data, header.length);
    std::memcpy(buffer, &header, sizeof(header));
    const int result = usdev_ioctl(handle, buffer, size, nullptr, 0);
    usplatform()->release(buffer);
    return result;
}

} // namespace

int usdev_list_init(usdev_list_t *list)
{
    usplatform()->start();
    list->scan_index = 0;
    return 0;
}

int usdev_list_next(usdev_list_t *list, usdev_t **dev_out)
{
    while (list->scan_index < USDEV_SLOTS) {
        if (!probe(list, list->scan_index++))
            continue;
        if (dev_out != nullptr)
            *dev_out = &list->slots[0];
        return 0;
    }
    return 1;
}

int usdev_find(const char16_t *svc_name, char16_t *path_out, uint32_t path_capacity, int *status_out)
{
    const intptr_t set = usplatform()->enumerate(&audio_class);
    if (set == USPLATFORM_INVALID_HANDLE) {
        print_wide_error();
        return 0;
    }
    const found_t found = {path_out, path_capacity, status_out};
    int result = 0;
    for (uint32_t device = 0; usplatform()->has_device(set, device) != 0; ++device) {
        if (scan_device(set, device, svc_name, found))
            result = 1;
    }
    usplatform()->end_enumeration(set);
    return result;
}

intptr_t usdev_open(const char16_t *if_path)
{
    char16_t path[USDEV_PATH_UNITS] = {};
    copy_text(path, USDEV_PATH_UNITS, if_path, text_length(if_path));
    const size_t backslash = std::u16string_view(path).rfind(u'\\');
    if (backslash != std::u16string_view::npos)
        path[backslash] = 0;
    const uint32_t length = text_length(path);
    copy_text(path + length, USDEV_PATH_UNITS - length, control_suffix.data(),
              static_cast<uint32_t>(control_suffix.size()));

    const intptr_t handle = usplatform()->open(path);
    if (handle == USPLATFORM_INVALID_HANDLE) {
        usdev_last_error();
        print_wide_error();
    }
    return handle;
}

int usdev_ioctl(intptr_t handle, const void *in, uint32_t in_length, void *out, uint32_t out_length)
{
    uint32_t returned = 0;
    if (usplatform()->control(handle, USDEV_IOCTL_TRANSFER, in, in_length, out, out_length, &returned) != 0)
        return returned == out_length ? 0 : print_error(module_path);
    // Printing may set another error: the code is taken first.
    const uint32_t code = usplatform()->last_error();
    print_error(module_path);
    print_system_error(code);
    return code == USPLATFORM_ERROR_TRANSIENT ? USDEV_TRANSIENT : 1;
}

int usdev_write(const usdev_t *device, uint8_t request, uint16_t value, uint16_t index, uint32_t length,
                const uint8_t *data)
{
    if (length == 0)
        return print_error(module_path);
    if (data == nullptr)
        return print_error(module_path);
    if (device == nullptr)
        return print_error(module_path);
    const intptr_t handle = usdev_open(device->path);
    if (handle == USPLATFORM_INVALID_HANDLE)
        return print_error(module_path);
    const int result =
        write_through(handle, request_header(USDEV_DIRECTION_WRITE, length, request, value, index), data);
    usplatform()->close(handle);
    return result;
}

int usdev_read(const usdev_t *device, uint8_t request, uint16_t value, uint16_t index, uint32_t length, uint8_t *buffer)
{
    if (device == nullptr)
        return print_error(module_path);
    const intptr_t handle = usdev_open(device->path);
    if (handle == USPLATFORM_INVALID_HANDLE)
        return 1;
    uint8_t input[USDEV_SMALLEST_REQUEST] = {};
    const usdev_request_t header = request_header(USDEV_DIRECTION_READ, 0, request, value, index);
    std::memcpy(input, &header, sizeof(header));
    const int result = usdev_ioctl(handle, input, sizeof(input), buffer, length);
    usplatform()->close(handle);
    return result;
}

uint32_t usdev_last_error()
{
    const uint32_t code = usplatform()->last_error();
    print_system_error(code);
    return code;
}
