#include "pattern.h"

#include <algorithm>
#include <string>

namespace pattern {

namespace {

constexpr std::size_t period = 251;

std::string make_store()
{
    std::string store(largest_piece + period, '\0');
    for (std::size_t i = 0; i < store.size(); ++i)
        store[i] = static_cast<char>(i % period);
    return store;
}

} // namespace

std::string_view piece(std::uint64_t offset, std::uint64_t size)
{
    static const std::string store = make_store();
    return std::string_view(store).substr(offset % period, std::min<std::uint64_t>(size, largest_piece));
}

void for_each_piece(std::uint64_t begin, std::uint64_t end, const std::function<void(std::string_view)> &take)
{
    while (begin < end) {
        const std::string_view next = piece(begin, end - begin);
        take(next);
        begin += next.size();
    }
}

} // namespace pattern
