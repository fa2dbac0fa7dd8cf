#include "input.h"

#include <algorithm>

ExactBlock::ExactBlock(size_t size, uint8_t fill)
    : m_bytes(new uint8_t[size])
    , m_size(size)
{
    std::fill_n(data(), size, fill);
}

ExactBlock::ExactBlock(const uint8_t *bytes, size_t size)
    : m_bytes(new uint8_t[size])
    , m_size(size)
{
    std::copy_n(bytes, size, data());
}

Input::Input(const uint8_t *bytes, size_t size)
    : m_bytes(bytes, size)
{
}

uint8_t Input::byte()
{
    return is_empty() ? uint8_t{0} : m_bytes.data()[m_at++];
}

uint16_t Input::number16()
{
    const uint8_t low = byte();
    return static_cast<uint16_t>(low | byte() << 8);
}

uint32_t Input::number32()
{
    const uint32_t low = number16();
    return low | static_cast<uint32_t>(number16()) << 16;
}

ExactBlock Input::block(size_t size)
{
    const size_t taken = std::min(size, left());
    m_at += taken;
    return {m_bytes.data() + m_at - taken, taken};
}
