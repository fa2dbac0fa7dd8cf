#include "arbitraryunit.h"

#include "invariant.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

ArbitraryUnit *current = nullptr;

constexpr intptr_t handle = 0xF11E;

// More than any single wait of the link may take. A unit that says "not yet" for ever is pulled out then, since the
// firmware transfer as a whole may rightly take millions.
constexpr uint32_t patience = 12000;

constexpr uint32_t header_size = sizeof(usdev_request_t);
constexpr uint32_t smallest_request = 20;

uint32_t error_of(uint8_t choice)
{
    constexpr uint32_t errors[] = {USPLATFORM_ERROR_TRANSIENT, USPLATFORM_ERROR_ACCESS_DENIED, USPLATFORM_ERROR_IO,
                                   USPLATFORM_ERROR_NOT_CONNECTED};
    return errors[choice % std::size(errors)];
}

void check_header(const usdev_request_t &header, uint32_t in_length, uint32_t out_length)
{
    const bool is_write = header.request == USDEV_REQ_WRITE;
    invariant(is_write || header.request == USDEV_REQ_READ, "E6: a request number that the driver does not know");
    invariant(header.direction == (is_write ? 0u : 1u), "E6: direction");
    invariant(header.function == 23 && header.value == 0 && header.index == 0 && header.reserved == 0,
              "E6: fields that never change");
    invariant(is_write ? header.length >= 1 && header.length <= USMSG_MAX_SIZE : header.length == 0, "E6: length");
    invariant(in_length == std::max(header_size + header.length, smallest_request), "E6: size of the request");
    invariant(out_length == (is_write ? 0u : uint32_t{USMSG_MAX_SIZE}), "E6: size of the answer");
}

} // namespace

/// The table of functions; they all go to the current unit.
struct ArbitraryPlatform
{
    static int start() { return 0; }
    static intptr_t enumerate(const usplatform_class_t *) { return USPLATFORM_INVALID_HANDLE; }
    static void end_enumeration(intptr_t) { }
    static int has_device(intptr_t, uint32_t) { return 0; }
    static int service(intptr_t, uint32_t, char16_t *, uint32_t) { return 0; }
    static int instance_id(intptr_t, uint32_t, char16_t *, uint32_t) { return 0; }
    static int has_interface(intptr_t, uint32_t, const usplatform_class_t *, uint32_t) { return 0; }
    static uint32_t detail_size(intptr_t, uint32_t, const usplatform_class_t *, uint32_t) { return 0; }
    static int detail(intptr_t, uint32_t, const usplatform_class_t *, uint32_t, usplatform_detail_t *, uint32_t)
    {
        return 0;
    }
    static intptr_t open(const char16_t *) { return current->open(); }
    static int control(intptr_t opened, uint32_t code, const void *in, uint32_t in_length, void *out,
                       uint32_t out_length, uint32_t *returned)
    {
        invariant(opened == handle && code == USDEV_IOCTL_TRANSFER, "E6: a control without an open path");
        return current->control(static_cast<const uint8_t *>(in), in_length, static_cast<uint8_t *>(out), out_length,
                                returned);
    }
    static void close(intptr_t) { --current->m_resources; }
    static void *allocate(uint32_t size)
    {
        if (!current->m_has_memory)
            return nullptr;
        ++current->m_resources;
        return std::calloc(1, size);
    }
    static void release(void *memory)
    {
        --current->m_resources;
        std::free(memory);
    }
    static uint32_t last_error() { return current->m_error; }
    static void error_text(uint32_t, char16_t *text, uint32_t units)
    {
        // Code that hands this on as a format reads arguments that are not there.
        constexpr char16_t words[] = u"100%% sure %s %n\n";
        const uint32_t length = std::min<uint32_t>(units, std::size(words)) - 1;
        std::copy_n(words, length, text);
        text[length] = 0;
    }
    static void sleep(uint32_t milliseconds)
    {
        ++current->m_sleeps;
        current->m_slept_ms += milliseconds;
    }
};

namespace {

constexpr usplatform_t platform = {
    .start = ArbitraryPlatform::start,
    .enumerate = ArbitraryPlatform::enumerate,
    .end_enumeration = ArbitraryPlatform::end_enumeration,
    .has_device = ArbitraryPlatform::has_device,
    .service = ArbitraryPlatform::service,
    .instance_id = ArbitraryPlatform::instance_id,
    .has_interface = ArbitraryPlatform::has_interface,
    .detail_size = ArbitraryPlatform::detail_size,
    .detail = ArbitraryPlatform::detail,
    .open = ArbitraryPlatform::open,
    .control = ArbitraryPlatform::control,
    .close = ArbitraryPlatform::close,
    .allocate = ArbitraryPlatform::allocate,
    .release = ArbitraryPlatform::release,
    .last_error = ArbitraryPlatform::last_error,
    .error_text = ArbitraryPlatform::error_text,
    .sleep = ArbitraryPlatform::sleep,
};

} // namespace

bool is_message(const uint8_t *bytes, uint32_t length)
{
    // Sizes of elements by type; that of a byte string follows its length byte.
    constexpr uint32_t sizes[] = {2, 2, 3, 4, 6, 3};
    uint32_t at = 0;
    while (at + 2 <= length) {
        const uint8_t type = bytes[at + 1];
        if (type == USMSG_DATA_TYPE_END)
            return bytes[at] == USMSG_ID_END && at + 2 == length;
        if (type >= std::size(sizes) || at + sizes[type] > length)
            return false;
        at += sizes[type] + (type == USMSG_DATA_TYPE_BYTES ? bytes[at + 2] : 0u);
    }
    // With less than two bytes left there was no room for an end.
    return at == length && length > USMSG_MAX_SIZE - 2;
}

ArbitraryUnit::ArbitraryUnit(Input *input)
    : m_input(input)
    , m_write_faults(input->byte())
    , m_write_error(input->byte())
    , m_open_faults(input->byte())
    , m_ending(input->byte())
{
    current = this;
    usplatform_use(&platform);
}

ArbitraryUnit::~ArbitraryUnit()
{
    usplatform_use(nullptr);
    current = nullptr;
}

intptr_t ArbitraryUnit::open()
{
    const bool fails = (m_open_faults >> (m_opens++ % 8) & 1) != 0;
    if (++m_transfers > patience || fails) {
        m_error = USPLATFORM_ERROR_NOT_FOUND;
        return USPLATFORM_INVALID_HANDLE;
    }
    ++m_resources;
    return handle;
}

int ArbitraryUnit::control(const uint8_t *in, uint32_t in_length, uint8_t *out, uint32_t out_length, uint32_t *returned)
{
    invariant(in_length >= smallest_request, "E6: size of the request");
    usdev_request_t header;
    std::memcpy(&header, in, header_size);
    check_header(header, in_length, out_length);
    return header.request == USDEV_REQ_WRITE ? write(in + header_size, header.length, returned) : read(out, returned);
}

uint32_t ArbitraryUnit::write_fault() const
{
    return (m_write_faults >> (m_writes % 8) & 1) != 0 ? error_of(m_write_error) : 0;
}

int ArbitraryUnit::write(const uint8_t *in, uint32_t in_length, uint32_t *returned)
{
    *returned = 0;
    m_error = write_fault();
    ++m_writes;
    if (m_error != USPLATFORM_ERROR_TRANSIENT)
        sent(in, in_length);
    return m_error == 0 ? 1 : 0;
}

int ArbitraryUnit::read(uint8_t *out, uint32_t *returned)
{
    ++m_reads;
    m_last = next_answer();
    m_error = m_last.error;
    *returned = m_last.returned;
    std::copy_n(m_last.bytes, std::min<uint32_t>(m_last.returned, USMSG_MAX_SIZE), out);
    if (m_error == 0 && m_last.returned == USMSG_MAX_SIZE)
        answered(m_last.bytes);
    return m_error == 0 ? 1 : 0;
}

ArbitraryUnit::Answer ArbitraryUnit::next_answer()
{
    if (m_repeats > 0) {
        --m_repeats;
        return m_last;
    }
    return m_input->is_empty() ? last_words() : made_up_answer();
}

ArbitraryUnit::Answer ArbitraryUnit::last_words() const
{
    Answer answer;
    constexpr uint8_t busy[] = {USMSG_ID_READY, USMSG_DATA_TYPE_U8, 0};
    switch (m_ending % 4) {
    case 0: // It is pulled out.
        answer.error = USPLATFORM_ERROR_NOT_CONNECTED;
        break;
    case 1: // It says nothing.
        break;
    case 2: // It is busy for ever.
        std::copy_n(busy, std::size(busy), answer.bytes);
        break;
    default: // It says the same for ever.
        return m_last;
    }
    return answer;
}

ArbitraryUnit::Answer ArbitraryUnit::made_up_answer()
{
    Answer answer;
    usmsg_buf_t buf = {answer.bytes, USMSG_MAX_SIZE, 0};
    switch (m_input->byte() % 8) {
    case 1: // Another size than the host asked for.
        answer.returned = m_input->byte();
        break;
    case 2:
        answer.error = error_of(m_input->byte());
        break;
    case 3: { // The last answer again: a short input makes a long wait.
        const uint32_t root = m_input->byte();
        m_repeats = root * root;
        return m_last;
    }
    case 4:
    case 5: {
        const bool is_ready = m_input->byte() % 2 != 0;
        usmsg_put(&buf, USMSG_ID_READY, USMSG_DATA_TYPE_U8, is_ready ? 1 : 0, 0);
        break;
    }
    case 6:
        append_status(&answer, m_input->number32(), true_offset());
        return answer;
    case 7: {
        const uint32_t room = m_input->number32();
        append_status(&answer, room, m_input->number32());
        return answer;
    }
    default:
        break;
    }
    const ExactBlock bytes = m_input->block(std::min<size_t>(m_input->byte(), USMSG_MAX_SIZE - buf.pos));
    std::copy_n(bytes.data(), bytes.size(), answer.bytes + buf.pos);
    return answer;
}

void ArbitraryUnit::append_status(Answer *answer, uint32_t room, uint32_t offset) const
{
    usmsg_buf_t buf = {answer->bytes, USMSG_MAX_SIZE, 0};
    usmsg_put(&buf, USMSG_ID_READY, USMSG_DATA_TYPE_U8, 1, 0);
    usmsg_put(&buf, USMSG_ID_FW_ROOM, USMSG_DATA_TYPE_U32, room, 0);
    usmsg_put(&buf, USMSG_ID_FW_OFFSET, USMSG_DATA_TYPE_U32, offset, 0);
}
