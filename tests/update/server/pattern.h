#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

/**
 * Bodies of any size that a test can check: byte i is i % 251, so a lost, doubled or moved piece shows.
 */
namespace pattern {

constexpr std::size_t largest_piece = 1'048'576;

/// At most largest_piece bytes of the pattern from an offset on.
std::string_view piece(std::uint64_t offset, std::uint64_t size);

/// Hands out the bytes from begin up to end in pieces.
void for_each_piece(std::uint64_t begin, std::uint64_t end, const std::function<void(std::string_view)> &take);

} // namespace pattern
