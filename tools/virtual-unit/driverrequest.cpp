#include "driverrequest.h"

#include "virtualunit.h"

namespace driverrequest {

namespace {

// Byte for byte: the link's own structure is not used, so that its layout is checked as well.
constexpr uint32_t direction_at = 0;
constexpr uint32_t length_at = 4;
constexpr uint32_t function_at = 8;
constexpr uint32_t value_at = 10;
constexpr uint32_t index_at = 12;
constexpr uint32_t reserved_at = 14;
constexpr uint32_t request_at = 15;
constexpr uint32_t data_at = 16;
constexpr uint32_t smallest_request = 20;
constexpr uint32_t driver_function = 23;
constexpr uint32_t write_request = 29;
constexpr uint32_t read_request = 30;

uint32_t number_at(const uint8_t *bytes, uint32_t size)
{
    uint32_t number = 0;
    for (uint32_t index = size; index > 0; --index)
        number = number << 8 | bytes[index - 1];
    return number;
}

bool is_zero(const uint8_t *begin, const uint8_t *end)
{
    while (begin != end) {
        if (*begin++ != 0)
            return false;
    }
    return true;
}

/// Whether the fields are right that every request has.
bool is_request(const uint8_t *in, uint32_t in_length, uint32_t direction, uint32_t request)
{
    return in_length >= smallest_request && number_at(in + direction_at, 4) == direction
        && number_at(in + function_at, 2) == driver_function && number_at(in + value_at, 2) == 0
        && number_at(in + index_at, 2) == 0 && in[reserved_at] == 0 && in[request_at] == request;
}

bool is_write(const uint8_t *in, uint32_t in_length, uint32_t out_length)
{
    if (!is_request(in, in_length, 0, write_request) || out_length != 0)
        return false;
    const uint32_t length = number_at(in + length_at, 4);
    if (length < 1 || length > VIRTUALUNIT_BLOCK_SIZE)
        return false;
    const uint32_t size = data_at + length;
    return in_length == (size < smallest_request ? smallest_request : size) && is_zero(in + size, in + in_length);
}

bool is_read(const uint8_t *in, uint32_t in_length, uint32_t out_length)
{
    return is_request(in, in_length, 1, read_request) && in_length == smallest_request
        && out_length == VIRTUALUNIT_BLOCK_SIZE && number_at(in + length_at, 4) == 0
        && is_zero(in + data_at, in + in_length);
}

} // namespace

Request parse(const uint8_t *in, uint32_t in_length, uint32_t out_length)
{
    if (is_write(in, in_length, out_length))
        return {Kind::Write, in + data_at, number_at(in + length_at, 4)};
    if (is_read(in, in_length, out_length))
        return {Kind::Read, nullptr, 0};
    return {Kind::Invalid, nullptr, 0};
}

} // namespace driverrequest
