#pragma once

#include <string_view>

/**
 * A client on the other end, plain or behind TLS. Every function blocks; each but the closing ones throws the network
 * library's error once the client is gone, which ends the connection's thread.
 */
class Connection
{
public:
    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    /// Sends all of it.
    virtual void write(std::string_view bytes) = 0;

    /// Sends nothing more and waits until the client is gone, so that everything arrives.
    virtual void close() = 0;

    /// Breaks the connection off.
    virtual void reset() = 0;

    /// Waits until the client is gone.
    virtual void wait_for_end() = 0;
};
