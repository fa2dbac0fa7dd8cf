#include "scriptedplatform.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

ScriptedPlatform *current = nullptr;
uint32_t error = 0;

// Handles that no valid pointer or index looks like.
constexpr intptr_t set_handle = 0x5E7;
constexpr intptr_t file_handle = 0xF11E;

const ScriptedPlatform::Interface &interface_at(uint32_t device, uint32_t number)
{
    return current->devices.at(device).interfaces.at(number);
}

int start()
{
    return 0;
}

intptr_t enumerate(const usplatform_class_t *)
{
    ++current->enumerations;
    if (!current->can_enumerate)
        return USPLATFORM_INVALID_HANDLE;
    ++current->resources_in_use;
    return set_handle;
}

void end_enumeration(intptr_t)
{
    --current->resources_in_use;
}

int has_device(intptr_t, uint32_t device)
{
    return device < current->devices.size() ? 1 : 0;
}

int service(intptr_t, uint32_t device, char16_t *text, uint32_t size)
{
    const ScriptedPlatform::Device &found = current->devices.at(device);
    // A failing system may leave anything behind.
    const std::u16string &name = found.service;
    const size_t units = std::min(name.size() + 1, static_cast<size_t>(size / sizeof(char16_t)));
    std::copy_n(name.c_str(), units, text);
    return found.has_service ? 1 : 0;
}

int instance_id(intptr_t, uint32_t device, char16_t *text, uint32_t)
{
    text[0] = 0;
    return current->devices.at(device).has_instance_id ? 1 : 0;
}

int has_interface(intptr_t, uint32_t device, const usplatform_class_t *, uint32_t number)
{
    return number < current->devices.at(device).interfaces.size() ? 1 : 0;
}

uint32_t size_of(const ScriptedPlatform::Interface &found)
{
    const size_t bytes = sizeof(uint32_t) + (found.path.size() + 1) * sizeof(char16_t);
    return static_cast<uint32_t>(std::max(bytes, sizeof(usplatform_detail_t)));
}

uint32_t detail_size(intptr_t, uint32_t device, const usplatform_class_t *, uint32_t number)
{
    const ScriptedPlatform::Interface &found = interface_at(device, number);
    return found.has_size ? size_of(found) : 0;
}

int detail(intptr_t, uint32_t device, const usplatform_class_t *, uint32_t number, usplatform_detail_t *record,
           uint32_t size)
{
    const ScriptedPlatform::Interface &found = interface_at(device, number);
    if (!found.has_detail || record->size != sizeof(usplatform_detail_t) || size != size_of(found))
        return 0;
    std::memcpy(reinterpret_cast<char *>(record) + sizeof(uint32_t), found.path.c_str(),
                (found.path.size() + 1) * sizeof(char16_t));
    return 1;
}

intptr_t open(const char16_t *path)
{
    current->opened.emplace_back(path);
    if (current->open_error != 0) {
        error = current->open_error;
        return USPLATFORM_INVALID_HANDLE;
    }
    ++current->resources_in_use;
    return file_handle;
}

ScriptedPlatform::Answer next_answer(const ScriptedPlatform::Request &request)
{
    if (current->answers.empty())
        return current->otherwise ? current->otherwise(request) : ScriptedPlatform::Answer();
    ScriptedPlatform::Answer answer = current->answers.front();
    current->answers.pop_front();
    return answer;
}

int control(intptr_t, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
            uint32_t *returned)
{
    const auto *const bytes = static_cast<const uint8_t *>(in);
    current->requests.push_back({current->opened.back(), code, {bytes, bytes + in_length}, out_length});
    const ScriptedPlatform::Answer answer = next_answer(current->requests.back());
    if (answer.error != 0) {
        error = answer.error;
        return 0;
    }
    const uint32_t copied = std::min(static_cast<uint32_t>(answer.bytes.size()), out_length);
    if (copied != 0)
        std::memcpy(out, answer.bytes.data(), copied);
    *returned = answer.returned.value_or(copied);
    return 1;
}

void close(intptr_t)
{
    --current->resources_in_use;
}

void *allocate(uint32_t size)
{
    if (!current->can_allocate)
        return nullptr;
    ++current->resources_in_use;
    return std::calloc(1, size);
}

void release(void *memory)
{
    --current->resources_in_use;
    std::free(memory);
}

uint32_t last_error()
{
    return error;
}

void error_text(uint32_t, char16_t *text, uint32_t units)
{
    const size_t length = std::min(current->error_text.size(), static_cast<size_t>(units - 1));
    std::copy_n(current->error_text.c_str(), length, text);
    text[length] = 0;
}

void sleep(uint32_t milliseconds)
{
    current->sleeps.push_back(milliseconds);
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

ScriptedPlatform::ScriptedPlatform()
{
    current = this;
    error = 0;
    usplatform_use(&platform);
}

ScriptedPlatform::~ScriptedPlatform()
{
    usplatform_use(nullptr);
    current = nullptr;
}
