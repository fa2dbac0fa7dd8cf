#include "arbitraryunit.h"
#include "invariant.h"
#include "target.h"

#include <algorithm>
#include <cstring>
#include <memory>

// A firmware transfer to a unit that answers anything: the host must keep to what the unit granted.

namespace {

constexpr uint32_t nothing_yet = 0xFFFFFFFF;
constexpr uint32_t largest_block = 61;
constexpr uint32_t largest_image = 4096;

// What the host may spend between two messages, and on one question.
constexpr uint32_t ready_polls = 1000;
constexpr uint32_t status_polls = 10000;
constexpr uint32_t unusable_answers = 1001;
constexpr uint32_t completion_requests = 20;

/// The other side's view of a transfer.
class FirmwareUnit : public ArbitraryUnit
{
public:
    FirmwareUnit(Input *input, const ExactBlock *image)
        : ArbitraryUnit(input)
        , m_image(image)
    {
        // A message that finds the path closed counts as sent, and nobody would know of it here.
        open_always();
    }

    uint32_t taken() const { return m_taken; }

    /// Whether the last block said that the unit has it all.
    bool has_confirmed() const
    {
        Status last = {.room = 255, .offset = 0, .is_vague = false};
        last.take(m_last_block);
        return last.is_vague || (last.offset == m_image->size() && last.room == 0);
    }

private:
    struct Status
    {
        uint32_t room = nothing_yet;
        uint32_t offset = nothing_yet;
        bool is_vague = false; ///< a byte string stood where a number belongs: the host sees its address

        bool is_known() const { return is_vague || (room != nothing_yet && offset != nothing_yet); }

        void take(const uint8_t *block)
        {
            uint8_t copy[USMSG_MAX_SIZE];
            std::copy_n(block, USMSG_MAX_SIZE, copy);
            usmsg_buf_t buf = {copy, USMSG_MAX_SIZE, 0};
            uint32_t id = 0;
            uint32_t type = 0;
            uint64_t value = 0;
            while (usmsg_get(&buf, &id, &type, &value, nullptr) == 0 && id != USMSG_ID_END) {
                if (id != USMSG_ID_FW_ROOM && id != USMSG_ID_FW_OFFSET)
                    continue;
                (id == USMSG_ID_FW_ROOM ? room : offset) = static_cast<uint32_t>(value);
                is_vague = is_vague || type == USMSG_DATA_TYPE_BYTES;
            }
        }
    };

    uint32_t true_offset() const override { return m_taken; }

    void answered(const uint8_t *block) override
    {
        std::copy_n(block, USMSG_MAX_SIZE, m_last_block);
        if (m_is_asked && !m_status.is_known())
            m_status.take(block);
    }

    void sent(const uint8_t *message, uint32_t length) override
    {
        invariant(is_message(message, length), "E6: not a message");
        invariant(reads() - m_reads_before <= ready_polls + status_polls, "F5: too many reads between two messages");
        m_reads_before = reads();
        switch (message[0]) {
        case USMSG_ID_FW_BEGIN:
            invariant(m_messages == 0, "F1: began again");
            break;
        case USMSG_ID_FW_STATUS:
            take_question();
            break;
        default:
            take_data(message, length);
        }
        ++m_messages;
    }

    void take_question()
    {
        const uint32_t limit = m_taken < m_image->size() ? unusable_answers : completion_requests;
        invariant(++m_questions <= limit, "F5: too many questions");
        m_is_asked = true;
        m_status = {};
    }

    void take_data(const uint8_t *message, uint32_t length)
    {
        invariant(length >= 4 && message[1] == USMSG_DATA_TYPE_BYTES, "F1: a message of another kind");
        const uint8_t count = message[2];
        const uint32_t missing = static_cast<uint32_t>(m_image->size()) - m_taken;
        if (m_is_asked) {
            invariant(m_status.is_vague || (m_status.is_known() && m_status.offset == m_taken),
                      "F1: data at an offset nobody asked for");
            m_room = m_status.room;
        }
        m_is_asked = false;
        m_questions = 0;

        const uint32_t chunk = m_status.is_vague ? count : std::min(missing, m_room);
        invariant(count >= 1 && count <= std::min(chunk, missing), "F2: more data than granted or than there is");
        invariant(count == std::min(chunk, largest_block), "F3: a block shorter than it could be");
        invariant(m_status.is_vague || message[0] == (chunk > largest_block ? USMSG_ID_FW_DATA : USMSG_ID_FW_DATA_LAST),
                  "F3: identifier of a block");
        invariant(std::memcmp(message + 3, m_image->data() + m_taken, count) == 0, "F1: not the image's bytes");
        m_taken += count;
        m_room -= count;
    }

    const ExactBlock *m_image;
    uint32_t m_taken = 0;
    uint32_t m_room = 0;
    Status m_status;
    uint8_t m_last_block[USMSG_MAX_SIZE] = {};
    bool m_is_asked = false;
    uint32_t m_questions = 0;
    uint32_t m_messages = 0;
    uint32_t m_reads_before = 0;
};

ExactBlock image_of(uint32_t size)
{
    ExactBlock image(size);
    // No two places of the image look alike for as long as a message is.
    for (uint32_t at = 0; at < size; ++at)
        image.data()[at] = static_cast<uint8_t>(at * 7 + (at >> 8));
    return image;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    constexpr uint32_t unset = 0xEEEEEEEE;
    Input input(bytes, size);
    const ExactBlock image = image_of(input.number16() % (largest_image + 1));
    const auto image_size = static_cast<uint32_t>(image.size());
    const bool wants_progress = input.byte() % 4 != 0;
    FirmwareUnit unit(&input, &image);
    const auto progress = std::make_unique<uint32_t>(unset);

    const int result =
        usctl_fw_update(unit.unit(), image.data(), image_size, wants_progress ? progress.get() : nullptr);
    invariant(result == 0 || result == 1, "E1: result");
    invariant(unit.resources() == 0, "E5: a handle or memory was kept");
    invariant(result == 1 || (unit.taken() == image_size && unit.has_confirmed()),
              "F4: success without the whole image");
    invariant(*progress == unset || *progress <= image_size, "F6: progress beyond the image");
    invariant(*progress == unset || *progress == unit.taken() || result == 1, "F6: progress at the end");
    return 0;
}
