#include "ownerunit.h"

#include "usplatform.h"
#include "virtualplatform.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

namespace {

using Control = decltype(usplatform_t::control);

constinit virtualunit_t unit = {};
constinit usplatform_t platform = {};
constinit Control answer = nullptr;

constinit std::atomic<bool> hasBegun = false;

// Ends the transfers of a unit that can be called off.
constinit std::atomic<bool> isCancelled = false;

// Ends the transfers of a unit that comes back too late.
constinit std::atomic<bool> isTakenDown = false;

/// By looking again and again: MinGW's standard library loses the wake-ups of atomics.
void await(const std::atomic<bool> &flag)
{
    while (!flag.load())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

int readyControl(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
                 uint32_t *returned)
{
    hasBegun.store(true);
    return answer(handle, code, in, in_length, out, out_length, returned);
}

int slowControl(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
                uint32_t *returned)
{
    hasBegun.store(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    return answer(handle, code, in, in_length, out, out_length, returned);
}

int cancellableControl(intptr_t, uint32_t, const void *, uint32_t, void *, uint32_t, uint32_t *returned)
{
    hasBegun.store(true);
    await(isCancelled);
    *returned = 0;
    return 0;
}

int lateControl(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
                uint32_t *returned)
{
    hasBegun.store(true);
    await(isTakenDown);
    return answer(handle, code, in, in_length, out, out_length, returned);
}

int hungControl(intptr_t, uint32_t, const void *, uint32_t, void *, uint32_t, uint32_t *)
{
    hasBegun.store(true);
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

void cancel()
{
    isCancelled.store(true);
}

uint32_t cancelledError()
{
    return USPLATFORM_ERROR_CANCELLED;
}

/// The text of a transfer that was called off is not to be mistaken for a warning of a tool.
void noText(uint32_t, char16_t *text, uint32_t)
{
    text[0] = 0;
}

std::string_view nameOfUnit()
{
    const char *const named = std::getenv("KDMX_OWNER_UNIT");
    return named != nullptr ? named : "ready";
}

/// Whether a device has ended without its worker: it then leaves its gate over the platform.
bool isWorkerLeftBehind()
{
    return usplatform() != usplatform_unwatched();
}

Control controlOf(std::string_view name)
{
    if (name == "slow")
        return slowControl;
    if (name == "cancellable")
        return cancellableControl;
    if (name == "hung")
        return hungControl;
    if (name == "late")
        return lateControl;
    return readyControl;
}

} // namespace

OwnerUnit::OwnerUnit()
{
    const std::string_view name = nameOfUnit();
    virtualunit_init(&unit);
    platform = *virtualplatform::with(name == "absent" ? nullptr : &unit, virtualplatform::Pauses::Real);
    answer = platform.control;
    platform.control = controlOf(name);
    platform.error_text = noText;
    if (name == "cancellable") {
        platform.cancel = cancel;
        platform.last_error = cancelledError;
    }
    usplatform_use(&platform);
}

OwnerUnit::~OwnerUnit()
{
    const std::string_view name = nameOfUnit();
    if (isWorkerLeftBehind() != (name == "hung" || name == "late"))
        std::fprintf(stderr, "%s\n", isWorkerLeftBehind() ? "The worker was left behind" : "Nothing was in flight");
    isTakenDown.store(true);
    // A transfer that was waited for in vain, and given up, ends now: give it the time to do harm.
    if (name == "late")
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

void OwnerUnit::waitForTransfer() const
{
    await(hasBegun);
}
