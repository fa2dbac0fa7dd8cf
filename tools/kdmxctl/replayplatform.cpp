#include "replayplatform.h"

#include "usbdevs_win.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace kdmxctl::replayplatform {

namespace {

constexpr intptr_t unit_handle = 1;
constexpr std::u16string_view service_name = u"kd-mx";
constexpr std::u16string_view interface_path = u"replay\\global";

struct Replay
{
    std::vector<TraceStep> steps;
    size_t next = 0;
    bool is_found = false;
    uint32_t last_error = 0;
    std::optional<Deviation> deviation;
};

Replay replay;

const TraceStep *next_step()
{
    return replay.next < replay.steps.size() ? &replay.steps[replay.next] : nullptr;
}

void deviate(const std::string &actual)
{
    if (replay.deviation)
        return;
    const TraceStep *const step = next_step();
    replay.deviation = {step != nullptr ? step->line : 0, step != nullptr ? describe(*step) : "nothing more", actual};
}

/// Takes the next step if it is of this kind; otherwise the command deviates.
const TraceStep *take(TraceStep::Kind kind, const std::string &actual)
{
    const TraceStep *const step = next_step();
    if (step == nullptr || step->kind != kind || replay.deviation) {
        deviate(actual);
        replay.last_error = USPLATFORM_ERROR_CANCELLED;
        return nullptr;
    }
    ++replay.next;
    replay.last_error = step->error;
    return step;
}

int start()
{
    return 0;
}

intptr_t enumerate(const usplatform_class_t *)
{
    const TraceStep *const step = take(TraceStep::Kind::Find, "find");
    replay.is_found = step != nullptr && step->error == 0;
    return unit_handle;
}

void end_enumeration(intptr_t) { }

int has_device(intptr_t, uint32_t device)
{
    return replay.is_found && device == 0 ? 1 : 0;
}

int copy_text(std::u16string_view text, char16_t *out, size_t units)
{
    if (units <= text.size())
        return 0;
    *std::copy(text.begin(), text.end(), out) = 0;
    return 1;
}

int service(intptr_t, uint32_t, char16_t *text, uint32_t size)
{
    return copy_text(service_name, text, size / sizeof(char16_t));
}

int instance_id(intptr_t, uint32_t, char16_t *text, uint32_t units)
{
    return copy_text(service_name, text, units);
}

int has_interface(intptr_t, uint32_t, const usplatform_class_t *, uint32_t number)
{
    return number == 0 ? 1 : 0;
}

uint32_t detail_size(intptr_t, uint32_t, const usplatform_class_t *, uint32_t)
{
    return static_cast<uint32_t>(sizeof(usplatform_detail_t) + interface_path.size() * sizeof(char16_t));
}

int detail(intptr_t, uint32_t, const usplatform_class_t *, uint32_t, usplatform_detail_t *record, uint32_t size)
{
    const size_t head = offsetof(usplatform_detail_t, path);
    return copy_text(interface_path, record->path, (size - head) / sizeof(char16_t));
}

intptr_t open(const char16_t *)
{
    const TraceStep *const step = next_step();
    // Any other step that has no place here shows when the transfer begins.
    if (step == nullptr || step->kind != TraceStep::Kind::Open)
        return unit_handle;
    take(TraceStep::Kind::Open, "open");
    return USPLATFORM_INVALID_HANDLE;
}

int write(const std::vector<uint8_t> &message)
{
    const std::string actual = describe({TraceStep::Kind::Write, 0, message});
    const TraceStep *const expected = next_step();
    if (expected != nullptr && expected->bytes != message)
        deviate(actual);
    const TraceStep *const step = take(TraceStep::Kind::Write, actual);
    return step != nullptr && step->error == 0 ? 1 : 0;
}

int read(void *out, uint32_t out_length, uint32_t *returned)
{
    const TraceStep *const step = take(TraceStep::Kind::Read, "read");
    if (step == nullptr || step->error != 0)
        return 0;
    *returned = std::min(out_length, static_cast<uint32_t>(step->bytes.size()));
    std::copy_n(step->bytes.begin(), *returned, static_cast<uint8_t *>(out));
    return 1;
}

int control(intptr_t, uint32_t, const void *in, uint32_t, void *out, uint32_t out_length, uint32_t *returned)
{
    usdev_request_t header;
    std::memcpy(&header, in, sizeof(header));
    *returned = 0;
    if (header.request != USDEV_REQ_WRITE)
        return read(out, out_length, returned);
    const auto *const message = static_cast<const uint8_t *>(in) + sizeof(header);
    return write({message, message + header.length});
}

void close(intptr_t) { }

void *allocate(uint32_t size)
{
    return std::calloc(size, 1);
}

void release(void *memory)
{
    std::free(memory);
}

uint32_t last_error()
{
    return replay.last_error;
}

void error_text(uint32_t, char16_t *text, uint32_t units)
{
    copy_text(u"As in the trace\n", text, units);
}

void sleep(uint32_t) { }

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

const usplatform_t *with(std::vector<TraceStep> steps)
{
    replay = {};
    replay.steps = std::move(steps);
    return &platform;
}

const Deviation *deviation()
{
    return replay.deviation ? &*replay.deviation : nullptr;
}

void finish()
{
    if (next_step() != nullptr)
        deviate("nothing more");
}

} // namespace kdmxctl::replayplatform
