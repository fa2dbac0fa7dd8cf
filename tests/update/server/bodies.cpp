// Packages and files of every size and pace.

#include "behaviours.h"
#include "control.h"
#include "pattern.h"
#include "response.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

namespace {

const std::string package_type = "application/octet-stream";
constexpr std::uint64_t default_size = 1000;

std::uint64_t size_of(const Request &request)
{
    return request.number("size", default_size);
}

void write_chunk(Connection &client, std::string_view content)
{
    client.write(chunk(content));
}

void sized(const Request &request, Connection &client)
{
    client.write(head(200, {type(package_type), length(size_of(request))}));
    pattern::for_each_piece(0, size_of(request), [&](std::string_view piece) { client.write(piece); });
    end(request, client);
}

void in_chunks(const Request &request, Connection &client)
{
    client.write(head(200, {type(package_type), chunked()}));
    pattern::for_each_piece(0, size_of(request), [&](std::string_view piece) { write_chunk(client, piece); });
    write_chunk(client, {});
    client.close();
}

void unsized(const Request &request, Connection &client)
{
    client.write(head(200, {type(package_type)}));
    pattern::for_each_piece(0, size_of(request), [&](std::string_view piece) { client.write(piece); });
    client.close();
}

void endless(const Request &, Connection &client)
{
    client.write(head(200, {type(package_type), chunked()}));
    for (;;)
        write_chunk(client, pattern::piece(0, pattern::largest_piece));
}

void empty(const Request &, Connection &client)
{
    respond(client, 200, package_type, {});
}

void drip(const Request &request, Connection &client)
{
    const std::uint64_t size = size_of(request);
    const std::uint64_t piece = std::clamp<std::uint64_t>(request.number("piece", 1), 1, pattern::largest_piece);
    const std::chrono::milliseconds pause(request.number("pause", 10));
    client.write(head(200, {type(package_type), length(size)}));
    for (std::uint64_t sent = 0; sent < size; sent += piece) {
        client.write(pattern::piece(sent, std::min(piece, size - sent)));
        std::this_thread::sleep_for(pause);
    }
    client.close();
}

void stepped(const Request &request, Connection &client, Control &control)
{
    const bool with_chunks = request.path == "/stepped-chunked";
    const std::uint64_t size = size_of(request);
    const std::uint64_t pieces = request.number("pieces", 2);
    const std::string name = request.text("name");
    const auto send = [&](std::string_view piece) { with_chunks ? write_chunk(client, piece) : client.write(piece); };
    control.wait_for_step(name);
    client.write(head(200, {type(package_type), with_chunks ? chunked() : length(size)}));
    for (std::uint64_t i = 0; i < pieces; ++i) {
        control.wait_for_step(name);
        pattern::for_each_piece(size * i / pieces, size * (i + 1) / pieces, send);
    }
    if (with_chunks)
        write_chunk(client, {});
    client.close();
}

void file(const Request &request, Connection &client, const std::filesystem::path &folder)
{
    const std::filesystem::path name = std::filesystem::path(request.path).filename();
    std::ifstream stream(folder / name, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream.is_open()) {
        respond(client, 404, "text/plain", "No such file.");
        return;
    }
    client.write(head(200, {type(request.text("type", package_type)), length(content.size())}));
    client.write(content);
    end(request, client);
}

} // namespace

void add_bodies(Behaviours &behaviours, const std::filesystem::path &folder, Control &control)
{
    behaviours["/body"] = sized;
    behaviours["/chunked"] = in_chunks;
    behaviours["/unsized"] = unsized;
    behaviours["/endless"] = endless;
    behaviours["/empty"] = empty;
    behaviours["/drip"] = drip;
    for (const char *const path : {"/stepped", "/stepped-chunked"}) {
        behaviours[path] = [&control](const Request &request, Connection &client) {
            stepped(request, client, control);
        };
    }
    behaviours["/files/"] = [folder](const Request &request, Connection &client) { file(request, client, folder); };
}
