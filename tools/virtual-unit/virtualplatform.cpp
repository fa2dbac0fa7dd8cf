#include "virtualplatform.h"

#include "driverrequest.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>
#include <thread>

namespace {

constexpr usplatform_class_t audio_class = {
    0x65E8773E, 0x8F56, 0x11D0, {0xA3, 0xB9, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

struct device_t
{
    std::u16string_view service;
    std::u16string_view instance;
    std::u16string_view path;
};

constexpr device_t devices[] = {
    {u"snd-usb-audio", u"VIRTUAL\\SOUNDCARD\\1",
     u"\\\\?\\virtual#soundcard#1#{65e8773e-8f56-11d0-a3b9-00a0c9223196}\\global"},
    {u"kd-mx", u"VIRTUAL\\KD-MX\\1", u"\\\\?\\virtual#kd-mx#1#{65e8773e-8f56-11d0-a3b9-00a0c9223196}\\global"},
};

// The unit stands last, so that a set without it is only shorter.
constexpr uint32_t all_devices = std::size(devices);
constexpr uint32_t other_devices = all_devices - 1;

constexpr std::u16string_view control_path = u"\\\\?\\virtual#kd-mx#1#{65e8773e-8f56-11d0-a3b9-00a0c9223196}\\kd-mx";
constexpr intptr_t control_handle = 0x4B44;

constexpr uint32_t transfer_code = 0x222000;

/// What is plugged in and what has happened.
struct state_t
{
    virtualunit_t *unit;
    virtualplatform::Pauses pauses;
    uint32_t denied;
    uint32_t open_handles;
    uint64_t slept_ms;
    uint64_t pause_count;
};

constinit state_t state = {};
thread_local uint32_t error = 0;

/// Keeps the error code of an operation that failed; 0, its result.
int fail(uint32_t code)
{
    error = code;
    return 0;
}

bool finds_unit()
{
    if (state.unit == nullptr)
        return false;
    if (virtualunit_is_plugged(state.unit) != 0)
        return true;
    virtualunit_skip(state.unit);
    return false;
}

bool is_audio_class(const usplatform_class_t &interface_class)
{
    return interface_class.data1 == audio_class.data1 && interface_class.data2 == audio_class.data2
        && interface_class.data3 == audio_class.data3
        && std::equal(std::begin(audio_class.data4), std::end(audio_class.data4), interface_class.data4);
}

/// Copies a text with its terminating zero; 0 when it does not fit.
int copy_text(std::u16string_view from, char16_t *text, uint32_t units)
{
    if (from.size() >= units)
        return 0;
    *std::copy(from.begin(), from.end(), text) = 0;
    return 1;
}

int start()
{
    return 0;
}

/// A set is known by how many devices it holds.
intptr_t enumerate(const usplatform_class_t *interface_class)
{
    ++state.open_handles;
    if (!is_audio_class(*interface_class))
        return 0;
    return finds_unit() ? all_devices : other_devices;
}

void end_enumeration(intptr_t)
{
    --state.open_handles;
}

int has_device(intptr_t set, uint32_t device)
{
    return device < static_cast<uint32_t>(set) ? 1 : 0;
}

int service(intptr_t set, uint32_t device, char16_t *text, uint32_t size)
{
    const auto units = static_cast<uint32_t>(size / sizeof(char16_t));
    return has_device(set, device) != 0 ? copy_text(devices[device].service, text, units) : 0;
}

int instance_id(intptr_t set, uint32_t device, char16_t *text, uint32_t units)
{
    return has_device(set, device) != 0 ? copy_text(devices[device].instance, text, units) : 0;
}

int has_interface(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number)
{
    return has_device(set, device) != 0 && is_audio_class(*interface_class) && number == 0 ? 1 : 0;
}

uint32_t detail_size(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number)
{
    if (has_interface(set, device, interface_class, number) == 0)
        return 0;
    const size_t units = devices[device].path.size() + 1;
    return static_cast<uint32_t>(offsetof(usplatform_detail_t, path) + units * sizeof(char16_t));
}

int detail(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number,
           usplatform_detail_t *record, uint32_t size)
{
    const uint32_t wanted = detail_size(set, device, interface_class, number);
    if (wanted == 0 || size < wanted || record->size != sizeof(usplatform_detail_t))
        return 0;
    // The record continues beyond its declared end.
    auto *const path = reinterpret_cast<char *>(record) + offsetof(usplatform_detail_t, path);
    std::memcpy(path, devices[device].path.data(), devices[device].path.size() * sizeof(char16_t));
    std::memset(path + devices[device].path.size() * sizeof(char16_t), 0, sizeof(char16_t));
    return 1;
}

intptr_t open(const char16_t *path)
{
    const bool exists = control_path == path && finds_unit();
    const uint32_t code = exists ? state.denied : USPLATFORM_ERROR_NOT_FOUND;
    if (code != 0) {
        fail(code);
        return USPLATFORM_INVALID_HANDLE;
    }
    ++state.open_handles;
    return control_handle;
}

void close(intptr_t)
{
    --state.open_handles;
}

/// The outcome of a transfer as a system tells it: 1, or 0 and an error code.
int outcome(virtualunit_result_t result)
{
    switch (result) {
    case VIRTUALUNIT_OK:
        return 1;
    case VIRTUALUNIT_STALLED:
    case VIRTUALUNIT_LATE:
        return fail(USPLATFORM_ERROR_TRANSIENT);
    case VIRTUALUNIT_GONE:
        return fail(USPLATFORM_ERROR_NOT_CONNECTED);
    case VIRTUALUNIT_FAILED:
        break;
    }
    return fail(USPLATFORM_ERROR_IO);
}

int control(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
            uint32_t *returned)
{
    *returned = 0;
    if (handle != control_handle || code != transfer_code)
        return fail(USPLATFORM_ERROR_IO);
    const auto request = driverrequest::parse(static_cast<const uint8_t *>(in), in_length, out_length);
    switch (request.kind) {
    case driverrequest::Kind::Write:
        return outcome(virtualunit_write(state.unit, request.data, request.length));
    case driverrequest::Kind::Read:
        return outcome(virtualunit_read(state.unit, static_cast<uint8_t *>(out), returned));
    case driverrequest::Kind::Invalid:
        break;
    }
    return fail(USPLATFORM_ERROR_IO);
}

void *allocate(uint32_t size)
{
    return std::calloc(1, size);
}

void release(void *memory)
{
    std::free(memory);
}

uint32_t last_error()
{
    return error;
}

/// The text for people; the link prints it as a format, so a "%" stands twice.
constexpr std::u16string_view text_of(uint32_t code)
{
    switch (code) {
    case USPLATFORM_ERROR_NOT_FOUND:
        return u"The unit is not plugged in.\n";
    case USPLATFORM_ERROR_ACCESS_DENIED:
        return u"This user may not open the unit.\n";
    case USPLATFORM_ERROR_TRANSIENT:
        return u"The unit did not respond, though 100 %% of its time was up.\n";
    case USPLATFORM_ERROR_CANCELLED:
        return u"The transfer was called off.\n";
    case USPLATFORM_ERROR_IO:
        return u"The transfer failed.\n";
    case USPLATFORM_ERROR_NOT_CONNECTED:
        return u"The unit was pulled out.\n";
    default:
        return u"";
    }
}

void error_text(uint32_t code, char16_t *text, uint32_t units)
{
    if (copy_text(text_of(code), text, units) == 0)
        text[0] = 0;
}

void sleep(uint32_t milliseconds)
{
    ++state.pause_count;
    state.slept_ms += milliseconds;
    if (state.pauses == virtualplatform::Pauses::Real)
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

constexpr usplatform_t platform = {
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

} // namespace

const usplatform_t *virtualplatform::with(virtualunit_t *unit, Pauses pauses)
{
    state = {unit, pauses, 0, 0, 0, 0};
    return &platform;
}

void virtualplatform::deny_access(uint32_t error)
{
    state.denied = error;
}

uint64_t virtualplatform::slept_ms()
{
    return state.slept_ms;
}

uint64_t virtualplatform::pauses()
{
    return state.pause_count;
}

uint32_t virtualplatform::open_handles()
{
    return state.open_handles;
}
