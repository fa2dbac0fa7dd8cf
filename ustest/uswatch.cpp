#include "uswatch.h"

#include "usbdevs_win.h"

#include <algorithm>
#include <cstring>

namespace {

// Pauses are cut into pieces of this length, so that a refusal is seen soon.
constexpr uint32_t pause_piece_ms = 50;

constinit const uswatch_t *watches[USWATCH_MAX] = {};
constinit uint32_t watch_count = 0;

// The error code of a transfer that was refused or has failed, as it was before any watcher ran; 0 when there was none.
thread_local uint32_t last_failure = 0;

uint32_t refusal()
{
    uint32_t error = 0;
    for (uint32_t index = 0; index < watch_count && error == 0; ++index) {
        if (watches[index]->refuses != nullptr)
            error = watches[index]->refuses(watches[index]->context);
    }
    return error;
}

void report(uswatch_transfer_t::kind_t kind, const void *data, uint32_t length, uint32_t error)
{
    const uswatch_transfer_t transfer = {kind, static_cast<const uint8_t *>(data), length, error};
    for (uint32_t index = 0; index < watch_count; ++index) {
        if (watches[index]->moved != nullptr)
            watches[index]->moved(watches[index]->context, &transfer);
    }
}

uint32_t last_error()
{
    return last_failure != 0 ? last_failure : usplatform_unwatched()->last_error();
}

intptr_t open(const char16_t *path)
{
    last_failure = refusal();
    const intptr_t handle = last_failure != 0 ? USPLATFORM_INVALID_HANDLE : usplatform_unwatched()->open(path);
    if (handle == USPLATFORM_INVALID_HANDLE) {
        last_failure = last_error();
        report(uswatch_transfer_t::OPEN, nullptr, 0, last_failure);
    }
    return handle;
}

int control(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
            uint32_t *returned)
{
    const int succeeded = usplatform_unwatched()->control(handle, code, in, in_length, out, out_length, returned);
    // The code is taken before the watcher runs, and is the same for the link afterwards.
    const uint32_t error = succeeded != 0 ? 0 : usplatform_unwatched()->last_error();
    last_failure = error;
    usdev_request_t header;
    if (in_length < sizeof(header))
        return succeeded;
    std::memcpy(&header, in, sizeof(header));
    header.length = std::min(header.length, in_length - static_cast<uint32_t>(sizeof(header)));
    if (header.request == USDEV_REQ_WRITE)
        report(uswatch_transfer_t::WRITE, static_cast<const uint8_t *>(in) + sizeof(header), header.length, error);
    else
        // A driver may claim more than the block can hold.
        report(uswatch_transfer_t::READ, out, succeeded != 0 ? std::min(*returned, out_length) : 0, error);
    return succeeded;
}

void sleep(uint32_t milliseconds)
{
    while (milliseconds > 0 && refusal() == 0) {
        const uint32_t piece = std::min(milliseconds, pause_piece_ms);
        usplatform_unwatched()->sleep(piece);
        milliseconds -= piece;
    }
}

void lay_over(usplatform_t *table)
{
    table->open = open;
    table->control = control;
    table->last_error = last_error;
    table->sleep = sleep;
}

} // namespace

int uswatch_add(const uswatch_t *watch)
{
    if (watch_count == USWATCH_MAX)
        return 1;
    watches[watch_count++] = watch;
    usplatform_interpose(lay_over);
    return 0;
}

void uswatch_remove(const uswatch_t *watch)
{
    const auto end = watches + watch_count;
    watch_count = static_cast<uint32_t>(std::remove(watches, end, watch) - watches);
    if (watch_count == 0)
        usplatform_interpose(nullptr);
}
