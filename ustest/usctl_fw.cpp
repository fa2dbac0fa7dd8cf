#include "usexchange.h"
#include "usplatform.h"

#include <algorithm>
#include <cstdio>

using usexchange::element_t;
using usexchange::fail;
using usexchange::message_t;

namespace {

constexpr uint32_t nothing_yet = 0xFFFFFFFF;

// A message of 64 bytes holds this many after the three of the element's head.
constexpr uint32_t largest_block = 61;

constexpr int status_polls = 10000;
constexpr int unusable_answers = 1001;
constexpr int completion_requests = 20;
constexpr int completion_polls = 10;

constexpr uint32_t poll_interval_ms = 10;
constexpr uint32_t completion_poll_interval_ms = 100;
constexpr uint32_t completion_interval_ms = 1000;

// Numbers that tell the two causes of a time-out apart.
constexpr int zero_allowance = 255;
constexpr int offset_mismatch = 257;

/// What the unit says about the transfer: how many bytes it takes now, and from which offset on.
struct status_t
{
    uint32_t room;
    uint32_t offset;
};

// What each block after a completion request starts from: one that says nothing confirms nothing, not even an empty
// image.
constexpr status_t unconfirmed = {255, 0};

void print_debug_block(const element_t &element)
{
    std::printf("\n\n--debug--\n");
    if (element.bytes() != nullptr)
        std::fwrite(element.bytes(), 1, element.length, stdout);
    std::printf("\n---------\n");
}

void take(const element_t &element, status_t *status)
{
    if (element.id == USMSG_ID_FW_ROOM)
        status->room = static_cast<uint32_t>(element.value);
    else if (element.id == USMSG_ID_FW_OFFSET)
        status->offset = static_cast<uint32_t>(element.value);
}

/// One firmware transfer, from the beginning to the confirmation. All steps return 0, or 1 after a line.
class transfer_t
{
public:
    transfer_t(usdev_t **unit, const uint8_t *image, uint32_t size, uint32_t *progress_out)
        : m_unit(unit)
        , m_image(image)
        , m_size(size)
        , m_progress_out(progress_out)
    {
    }

    int run()
    {
        if (send(USMSG_ID_FW_BEGIN, USMSG_DATA_TYPE_U32, m_size, 0) != 0)
            return 1;
        while (m_pos < m_size) {
            if (send_allowance() != 0)
                return 1;
        }
        print_position();
        return await_confirmation();
    }

private:
    int send(uint32_t id, uint32_t type, uint64_t value, uint8_t length)
    {
        message_t message;
        if (usmsg_put(&message.buf, id, type, value, length) != 0)
            return fail();
        return usexchange::send_when_ready(m_unit, &message);
    }

    int request_status() { return send(USMSG_ID_FW_STATUS, USMSG_DATA_TYPE_NONE, 0, 0); }

    void print_position() const { std::printf("pos = %u/%u\n", m_pos, m_size); }

    void report_progress() const
    {
        if (m_progress_out != nullptr)
            *m_progress_out = m_pos;
    }

    /// Asks until the unit grants room at the right offset, and fills that room.
    int send_allowance()
    {
        for (int unusable = 1;; ++unusable) {
            status_t status = {};
            print_position();
            if (request_status() != 0 || await_status(&status) != 0)
                return 1;
            if (status.room > 0 && status.offset == m_pos)
                return send_blocks(status.room);
            if (status.room > 0)
                std::printf("offset = %u, pos = %u\n", status.offset, m_pos);
            if (unusable == unusable_answers)
                return give_up(status.room > 0 ? offset_mismatch : zero_allowance);
            usplatform()->sleep(poll_interval_ms);
        }
    }

    int give_up(int cause)
    {
        fail();
        std::printf("timeout line:%d\n", cause);
        return 1;
    }

    int read_status(status_t *status, bool print_debug)
    {
        message_t block;
        if (usctl_recv(m_unit, &block.buf) != 0)
            return fail();
        element_t element;
        while (usexchange::next_element(&block, &element) && element.id != USMSG_ID_END) {
            take(element, status);
            if (print_debug && element.id == USMSG_ID_DEBUG)
                print_debug_block(element);
        }
        return 0;
    }

    int await_status(status_t *status)
    {
        *status = {nothing_yet, nothing_yet};
        for (int poll = 1; poll <= status_polls; ++poll) {
            if (read_status(status, true) != 0)
                return 1;
            if (status->room != nothing_yet && status->offset != nothing_yet)
                return 0;
            if (poll < status_polls)
                usplatform()->sleep(poll_interval_ms);
        }
        return fail();
    }

    int send_blocks(uint32_t room)
    {
        while (room > 0 && m_pos < m_size) {
            const uint32_t chunk = std::min(m_size - m_pos, room);
            const uint32_t length = std::min(chunk, largest_block);
            const uint32_t id = chunk > largest_block ? USMSG_ID_FW_DATA : USMSG_ID_FW_DATA_LAST;
            if (send(id, USMSG_DATA_TYPE_BYTES, reinterpret_cast<uintptr_t>(m_image + m_pos),
                     static_cast<uint8_t>(length))
                != 0)
                return 1;
            m_pos += length;
            room -= length;
            if (m_pos < m_size)
                report_progress();
        }
        return 0;
    }

    /// Reads what follows one completion request; true when the unit has the whole image.
    bool is_confirmed(int *error)
    {
        for (int poll = 1; poll <= completion_polls; ++poll) {
            status_t status = unconfirmed;
            *error = read_status(&status, false);
            if (*error != 0)
                return false;
            if (status.offset == m_size && status.room == 0)
                return true;
            if (poll < completion_polls)
                usplatform()->sleep(completion_poll_interval_ms);
        }
        return false;
    }

    int await_confirmation()
    {
        for (int request = 0; request < completion_requests; ++request) {
            int error = request_status();
            if (error != 0)
                return 1;
            if (is_confirmed(&error)) {
                std::printf("FWUP OK\n");
                report_progress();
                return 0;
            }
            if (error != 0)
                return 1;
            usplatform()->sleep(completion_interval_ms);
        }
        return fail();
    }

    usdev_t **m_unit;
    const uint8_t *m_image;
    uint32_t m_size;
    uint32_t *m_progress_out;
    uint32_t m_pos = 0;
};

} // namespace

int usctl_fw_update(usdev_t **unit, const uint8_t *image, uint32_t size, uint32_t *progress_out)
{
    return transfer_t(unit, image, size, progress_out).run();
}
