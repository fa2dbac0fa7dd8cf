#include "readyunit.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace readyunit {

namespace {

constexpr uint32_t allowance = 65536;
constexpr uint32_t request_offset = 15;
constexpr uint32_t length_offset = 4;
constexpr uint32_t message_offset = 16;

uint64_t count = 0;
uint32_t image_size = 0;
uint32_t received = 0;
alignas(16) uint8_t memory[128];

intptr_t open(const char16_t *)
{
    return 0;
}

void take(const uint8_t *message)
{
    if (message[0] == USMSG_ID_FW_BEGIN) {
        std::memcpy(&image_size, message + 2, sizeof(image_size));
        received = 0;
    } else if (message[0] == USMSG_ID_FW_DATA || message[0] == USMSG_ID_FW_DATA_LAST) {
        received += message[2];
    }
}

/// The ready flag and the state of the transfer, byte by byte: composing it is not what is measured.
void give(uint8_t *block, uint32_t length)
{
    const uint32_t room = received < image_size ? allowance : 0;
    std::memset(block, 0, length);
    constexpr uint8_t heads[] = {
        USMSG_ID_READY,     USMSG_DATA_TYPE_U8, 1, USMSG_ID_FW_ROOM, USMSG_DATA_TYPE_U32, 0, 0, 0, 0,
        USMSG_ID_FW_OFFSET, USMSG_DATA_TYPE_U32};
    std::memcpy(block, heads, sizeof(heads));
    std::memcpy(block + 5, &room, sizeof(room));
    std::memcpy(block + sizeof(heads), &received, sizeof(received));
}

int control(intptr_t, uint32_t, const void *in, uint32_t, void *out, uint32_t out_length, uint32_t *returned)
{
    const auto *const request = static_cast<const uint8_t *>(in);
    ++count;
    *returned = out_length;
    if (request[request_offset] == USDEV_REQ_READ)
        give(static_cast<uint8_t *>(out), out_length);
    else if (request[length_offset] >= 3)
        take(request + message_offset);
    return 1;
}

void *allocate(uint32_t size)
{
    return size <= sizeof(memory) ? memory : nullptr;
}

void release(void *) { }

/// A system without devices, except that the one here can be opened.
usplatform_t system_with_ready_unit()
{
    usplatform_t table = usplatform_default;
    table.open = open;
    table.control = control;
    table.allocate = allocate;
    table.release = release;
    return table;
}

} // namespace

const usplatform_t platform = system_with_ready_unit();

usdev_t device()
{
    // As long as the paths of a real system.
    usdev_t found = {};
    constexpr char16_t path[] = u"\\\\?\\usb#vid_0000&pid_0000&mi_00#7&1a2b3c4d&0&0000#{65e8773e}\\global";
    std::copy(std::begin(path), std::end(path), found.path);
    return found;
}

uint64_t transfers()
{
    return count;
}

} // namespace readyunit
