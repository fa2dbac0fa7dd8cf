#include "usplatform.h"

#include <atomic>

namespace {

constinit std::atomic<const usplatform_t *> in_use = &usplatform_default;

} // namespace

const usplatform_t *usplatform()
{
    return in_use.load(std::memory_order_acquire);
}

void usplatform_use(const usplatform_t *platform)
{
    in_use.store(platform != nullptr ? platform : &usplatform_default, std::memory_order_release);
}
