#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

/// A heap block of exactly this size: a sanitizer sees every byte that is touched beside it.
class ExactBlock
{
public:
    explicit ExactBlock(size_t size, uint8_t fill = 0);
    ExactBlock(const uint8_t *bytes, size_t size);

    uint8_t *data() { return m_bytes.get(); }
    const uint8_t *data() const { return m_bytes.get(); }
    size_t size() const { return m_size; }
    std::vector<uint8_t> content() const { return {data(), data() + m_size}; }

private:
    std::unique_ptr<uint8_t[]> m_bytes;
    size_t m_size;
};

/// What the fuzzer made up, taken from the front. After its end there are zeros.
class Input
{
public:
    Input(const uint8_t *bytes, size_t size);

    bool is_empty() const { return m_at == m_bytes.size(); }
    size_t left() const { return m_bytes.size() - m_at; }

    uint8_t byte();
    uint16_t number16();
    uint32_t number32();

    /// Takes as many bytes as asked for, or as there are.
    ExactBlock block(size_t size);

private:
    ExactBlock m_bytes;
    size_t m_at = 0;
};
