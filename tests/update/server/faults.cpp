// Connections that end, and bodies that do not hold what their headers say.

#include "behaviours.h"
#include "pattern.h"
#include "response.h"

namespace {

constexpr std::uint64_t told = 2000;
constexpr std::uint64_t half = told / 2;

const std::string package_type = type("application/octet-stream");

void send_nothing(Connection &) { }

void send_part_of_header(Connection &client)
{
    client.write("HTTP/1.1 200 As told\r\nContent-Le");
}

void send_header(Connection &client)
{
    client.write(head(200, {package_type, length(told)}));
}

void send_half(Connection &client)
{
    send_header(client);
    client.write(pattern::piece(0, half));
}

void send_half_unsized(Connection &client)
{
    client.write(head(200, {package_type}));
    client.write(pattern::piece(0, half));
}

void send_half_chunked(Connection &client)
{
    client.write(head(200, {package_type, chunked()}));
    client.write(chunk(pattern::piece(0, half)));
}

using Part = void (*)(Connection &);

Behaviour reset_after(Part send)
{
    return [send](const Request &, Connection &client) {
        send(client);
        client.reset();
    };
}

Behaviour close_after(Part send)
{
    return [send](const Request &, Connection &client) {
        send(client);
        client.close();
    };
}

Behaviour silent_after(Part send)
{
    return [send](const Request &, Connection &client) {
        send(client);
        client.wait_for_end();
    };
}

void more_than_told(const Request &, Connection &client)
{
    client.write(head(200, {package_type, length(half)}));
    client.write(pattern::piece(0, told));
    client.close();
}

void broken_chunk(const Request &, Connection &client)
{
    send_half_chunked(client);
    client.write("no number\r\nno chunk\r\n");
    client.close();
}

} // namespace

void add_faults(Behaviours &behaviours)
{
    behaviours["/reset/before"] = reset_after(send_nothing);
    behaviours["/reset/in-header"] = reset_after(send_part_of_header);
    behaviours["/reset/after-header"] = reset_after(send_header);
    behaviours["/reset/in-body"] = reset_after(send_half);
    behaviours["/close/before"] = close_after(send_nothing);
    behaviours["/close/in-header"] = close_after(send_part_of_header);
    behaviours["/close/in-body"] = close_after(send_half);
    behaviours["/close/in-body-unsized"] = close_after(send_half_unsized);
    behaviours["/close/in-body-chunked"] = close_after(send_half_chunked);
    behaviours["/silent/before"] = silent_after(send_nothing);
    behaviours["/silent/after-header"] = silent_after(send_header);
    behaviours["/silent/in-body"] = silent_after(send_half);
    behaviours["/length/too-long"] = close_after(send_half);
    behaviours["/length/too-short"] = more_than_told;
    behaviours["/chunked/broken"] = broken_chunk;
}
