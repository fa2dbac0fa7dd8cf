#include "usplatform.h"

#include <atomic>

namespace {

constinit const usplatform_t *unwatched = &usplatform_default;
constinit usplatform_layer_t layer = nullptr;
constinit usplatform_t layered = {};

// What the link calls: the platform, or the layer over it. Threads that are started later see it whole.
constinit std::atomic<const usplatform_t *> in_use = &usplatform_default;

void arrange()
{
    if (layer == nullptr) {
        in_use.store(unwatched, std::memory_order_release);
        return;
    }
    layered = *unwatched;
    layer(&layered);
    in_use.store(&layered, std::memory_order_release);
}

} // namespace

const usplatform_t *usplatform()
{
    return in_use.load(std::memory_order_acquire);
}

const usplatform_t *usplatform_unwatched()
{
    return unwatched;
}

void usplatform_use(const usplatform_t *platform)
{
    unwatched = platform != nullptr ? platform : &usplatform_default;
    arrange();
}

void usplatform_interpose(usplatform_layer_t new_layer)
{
    layer = new_layer;
    arrange();
}
