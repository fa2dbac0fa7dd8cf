#pragma once

#include <cstdint>
#include <functional>
#include <string>

class Connection;
struct Certificate;
struct Request;

/// Takes a request and answers it; called in the connection's own thread.
using Handler = std::function<void(const Request &, Connection &)>;

/**
 * Serves a port of 127.0.0.1 that the system picks, one thread a connection, until the process ends.
 *
 * @param name         what its requests call the port
 * @param certificate  null serves plain HTTP
 * @return the port
 */
std::uint16_t listen(const std::string &name, const Certificate *certificate, const Handler &handler);

/// A port of 127.0.0.1 that is taken until the process ends and refuses every connection.
std::uint16_t refuse();
