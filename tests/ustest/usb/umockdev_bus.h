#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>

/// The way to the bus that this program runs on, see umockdevunit.
namespace umockdev_bus {

/// Whether the program runs on such a bus at all.
inline bool is_there()
{
    return std::getenv("KDMX_BUS") != nullptr;
}

/// Lets the bus carry out one line.
inline void tell(const std::string &line)
{
    const int socket = std::atoi(std::getenv("KDMX_BUS"));
    ASSERT_EQ(::send(socket, line.data(), line.size(), MSG_NOSIGNAL), static_cast<ssize_t>(line.size()));
    char answer[256];
    const ssize_t length = ::recv(socket, answer, sizeof(answer), 0);
    ASSERT_GT(length, 0);
    ASSERT_EQ(std::string(answer, static_cast<size_t>(length)), "ok") << line;
}

} // namespace umockdev_bus
