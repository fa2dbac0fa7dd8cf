#pragma once

#include "connection.h"
#include "request.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

// The bytes of responses. Plain texts, for many of them are wrong on purpose.

/// A status line, the given field lines ("Name: value") and the empty line.
std::string head(int status, std::initializer_list<std::string> fields);

/// The field line that tells how long a body is.
std::string length(std::uint64_t size);

/// The field line that tells what a body is.
std::string type(std::string_view name);

/// The field line that says that the body comes in chunks.
std::string chunked();

/// A chunk; an empty one ends the body.
std::string chunk(std::string_view content);

/// A whole and right response.
void respond(Connection &client, int status, std::string_view content_type, std::string_view body);

/// Ends a response whose length was given: closes the connection, unless the request leaves that to the client.
void end(const Request &request, Connection &client);
