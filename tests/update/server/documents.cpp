// Update-information documents, and what may come in their place.

#include "behaviours.h"
#include "response.h"

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>
#include <zlib.h>

namespace {

const std::string json_type = "application/json";

nlohmann::json good_entry()
{
    const std::string site = "https://www.velmar.example/download/fw/corvo9/";
    return {
        {"windows_software_url_ja", site + "ja/setup.exe"},
        {"windows_software_url_en", site + "en/setup.exe"},
        {"windows_firmware_url_ja", site + "ja/firmware.zip"},
        {"windows_firmware_url_en", site + "en/firmware.zip"},
        {"windows_software_version_major", 1},
        {"windows_software_version_minor", 10},
        {"firmware_version_major", 1},
        {"firmware_version_minor", 10},
        {"messages", {{"English", "<p>News</p>"}, {"Japanese", "<p>お知らせ</p>"}}},
    };
}

std::string document(const nlohmann::json &entry, const std::string &key = "Corvo9_version1")
{
    return nlohmann::json{{key, entry}}.dump(2);
}

/// Every value is of a type that its key does not have.
nlohmann::json wrong_entry()
{
    nlohmann::json entry = good_entry();
    for (auto &value : entry)
        value = value.is_string() ? nlohmann::json(7) : value.is_number() ? nlohmann::json("7") : nlohmann::json(true);
    return entry;
}

std::string gzipped(std::string text)
{
    constexpr int gzip_format = 16 + MAX_WBITS;
    constexpr int memory_level = 8;
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, gzip_format, memory_level, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(text.data());
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

void send_gzipped(const Request &, Connection &client)
{
    const std::string packed = gzipped(document(good_entry()));
    client.write(head(200, {type(json_type), "Content-Encoding: gzip", length(packed.size())}));
    client.write(packed);
    client.close();
}

/// Bytes that are no gzip although the header says so; then silence, or more of them without an end.
void send_false_gzip(const Request &request, Connection &client)
{
    client.write(head(200, {type(json_type), "Content-Encoding: gzip"}));
    const std::string piece(100'000, 'x');
    client.write(piece);
    while (request.number("endless", 0) != 0) {
        // Faster, it would keep Qt's thread from ever looking up, and that from ending in time.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        client.write(piece);
    }
    client.wait_for_end();
}

void send_sized(const Request &request, Connection &client, const std::string &text)
{
    client.write(head(200, {type(json_type), length(text.size())}));
    client.write(text);
    end(request, client);
}

/// A good document with blanks at its end up to the wanted size.
void send_large(const Request &request, Connection &client)
{
    std::string text = document(good_entry());
    text.resize(std::max<std::size_t>(text.size(), request.number("size", 0)), ' ');
    send_sized(request, client, text);
}

void send_nested(const Request &request, Connection &client)
{
    const std::size_t depth = request.number("depth", 100'000);
    send_sized(request, client, std::string(depth, '[') + std::string(depth, ']'));
}

Behaviour fixed(const std::string &text, const std::string &content_type = json_type)
{
    return [text, content_type](const Request &, Connection &client) { respond(client, 200, content_type, text); };
}

} // namespace

void add_documents(Behaviours &behaviours)
{
    behaviours["/document/good"] = fixed(document(good_entry()));
    behaviours["/document/large"] = send_large;
    behaviours["/document/bom"] = fixed("\xEF\xBB\xBF" + document(good_entry()));
    behaviours["/document/gzip"] = send_gzipped;
    behaviours["/false-gzip"] = send_false_gzip;
    behaviours["/document/wrong-types"] = fixed(document(wrong_entry()));
    behaviours["/document/other-key"] = fixed(document(good_entry(), "Corvo9_version2"));
    behaviours["/document/not-json"] = fixed("This is no document.");
    behaviours["/document/nested"] = send_nested;
    behaviours["/document/html"] = fixed("<!DOCTYPE html>\n<html><body>Log in first.</body></html>\n", "text/html");
    behaviours["/document/invalid-utf8"] = fixed("{\"Corvo9_version1\": \"\xC3\x28 \xFF\"}");
    behaviours["/document/array"] = fixed("[" + document(good_entry()) + "]");
}
