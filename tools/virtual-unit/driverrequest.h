#pragma once

#include <cstdint>

/// The requests of the driver's I/O control, as bytes: which of them it takes. Also part of a kernel-mode driver, so
/// without any library.
namespace driverrequest {

enum class Kind {
    Invalid, ///< nothing that a driver takes
    Write,
    Read,
};

struct Request
{
    Kind kind;
    const uint8_t *data; ///< the message of a write, within the input
    uint32_t length; ///< of the message
};

/**
 * Tells what a request wants.
 *
 * @param in          input buffer; not null unless in_length is 0
 * @param out_length  bytes that the caller has room for
 */
Request parse(const uint8_t *in, uint32_t in_length, uint32_t out_length);

} // namespace driverrequest
