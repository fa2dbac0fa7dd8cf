#include "usplatform.h"

#include <cstdlib>

// A system without devices, for programs that must do without one. Memory is ordinary, and sleeping takes no time.

namespace {

int start()
{
    return 0;
}

intptr_t enumerate(const usplatform_class_t *)
{
    return 0;
}

void end_enumeration(intptr_t) { }

int has_device(intptr_t, uint32_t)
{
    return 0;
}

int service(intptr_t, uint32_t, char16_t *, uint32_t)
{
    return 0;
}

int instance_id(intptr_t, uint32_t, char16_t *, uint32_t)
{
    return 0;
}

int has_interface(intptr_t, uint32_t, const usplatform_class_t *, uint32_t)
{
    return 0;
}

uint32_t detail_size(intptr_t, uint32_t, const usplatform_class_t *, uint32_t)
{
    return 0;
}

int detail(intptr_t, uint32_t, const usplatform_class_t *, uint32_t, usplatform_detail_t *, uint32_t)
{
    return 0;
}

intptr_t open(const char16_t *)
{
    return USPLATFORM_INVALID_HANDLE;
}

int control(intptr_t, uint32_t, const void *, uint32_t, void *, uint32_t, uint32_t *returned)
{
    *returned = 0;
    return 0;
}

void close(intptr_t) { }

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
    return USPLATFORM_ERROR_NOT_FOUND;
}

void error_text(uint32_t, char16_t *text, uint32_t)
{
    text[0] = 0;
}

void sleep(uint32_t) { }

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
