#include "transcript.h"

#include "headerfile.h"
#include "usmsg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

namespace {

constexpr size_t bytes_a_line = 16;

/// Whether the bytes of an element are for reading; those of an image may look as if they were.
bool is_text(uint32_t id, const uint8_t *bytes, uint8_t length)
{
    if (id == USMSG_ID_FW_DATA || id == USMSG_ID_FW_DATA_LAST)
        return false;
    return std::all_of(bytes, bytes + length, [](uint8_t byte) { return std::isprint(byte) != 0; });
}

/// Name and value of an element, for people.
std::string words(uint32_t id, uint32_t type, uint64_t value, uint8_t length)
{
    const std::string name = identifier_name(id);
    if (type == USMSG_DATA_TYPE_NONE)
        return name;
    if (type != USMSG_DATA_TYPE_BYTES)
        return name + " " + std::to_string(value);
    const auto *const bytes = reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(value));
    if (is_text(id, bytes, length))
        return name + " \"" + std::string(bytes, bytes + length) + "\"";
    return name + ", " + std::to_string(length) + " bytes";
}

/// The lines of one element.
void append_lines(const uint8_t *bytes, size_t count, const std::string &meaning, std::vector<std::string> *lines)
{
    std::vector<std::string> element = hex_lines(bytes, count);
    element.front() += " " + meaning;
    lines->insert(lines->end(), element.begin(), element.end());
}

std::vector<std::string> lines_of_message(std::vector<uint8_t> message)
{
    std::vector<std::string> lines;
    usmsg_buf_t buf = {message.data(), static_cast<uint8_t>(message.size()), 0};
    uint32_t id = 0;
    uint32_t type = 0;
    uint64_t value = 0;
    uint8_t length = 0;
    uint8_t start = 0;
    while (usmsg_get(&buf, &id, &type, &value, &length) == 0) {
        append_lines(message.data() + start, buf.pos - start, words(id, type, value, length), &lines);
        start = buf.pos;
    }
    if (start < message.size()) {
        EXPECT_TRUE(std::all_of(message.begin() + start, message.end(), [](uint8_t byte) { return byte == 0; }))
            << "something stands behind the end";
        append_lines(message.data() + start, std::min<size_t>(2, message.size() - start), "END", &lines);
    }
    return lines;
}

} // namespace

std::vector<std::string> hex_lines(const uint8_t *bytes, size_t count)
{
    constexpr const char *digits = "0123456789ABCDEF";
    std::vector<std::string> lines;
    for (size_t index = 0; index < count; ++index) {
        const bool begins = index % bytes_a_line == 0;
        if (begins)
            lines.emplace_back();
        else
            lines.back() += ' ';
        lines.back() += digits[bytes[index] >> 4];
        lines.back() += digits[bytes[index] & 0xF];
    }
    return lines;
}

std::string identifier_name(uint32_t id)
{
    for (const headerfile::Entry &entry : headerfile::entries("USMSG_ID_")) {
        if (entry.value == id)
            return entry.name;
    }
    return {};
}

Transcript::Transcript()
    : m_watch{.context = this, .moved = take, .refuses = nullptr}
{
    EXPECT_EQ(uswatch_add(&m_watch), 0);
}

Transcript::~Transcript()
{
    uswatch_remove(&m_watch);
}

void Transcript::take(void *context, const uswatch_transfer_t *transfer)
{
    auto *const transcript = static_cast<Transcript *>(context);
    ASSERT_EQ(transfer->error, 0u) << "a transfer failed";
    const bool is_write = transfer->kind == uswatch_transfer_t::WRITE;
    std::vector<std::string> lines = lines_of_message({transfer->data, transfer->data + transfer->length});
    if (is_write)
        transcript->m_messages.insert(transcript->m_messages.end(), lines.begin(), lines.end());
    lines.front() = (is_write ? "host " : "unit ") + lines.front();
    transcript->m_lines.insert(transcript->m_lines.end(), lines.begin(), lines.end());
}
