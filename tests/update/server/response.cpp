#include "response.h"

#include <sstream>

std::string head(int status, std::initializer_list<std::string> fields)
{
    std::string text = "HTTP/1.1 " + std::to_string(status) + " As told\r\nConnection: close\r\n";
    for (const std::string &field : fields)
        text += field + "\r\n";
    return text + "\r\n";
}

std::string length(std::uint64_t size)
{
    return "Content-Length: " + std::to_string(size);
}

std::string type(std::string_view name)
{
    return "Content-Type: " + std::string(name);
}

std::string chunked()
{
    return "Transfer-Encoding: chunked";
}

std::string chunk(std::string_view content)
{
    std::ostringstream size;
    size << std::hex << content.size();
    return size.str() + "\r\n" + std::string(content) + "\r\n";
}

void respond(Connection &client, int status, std::string_view content_type, std::string_view body)
{
    client.write(head(status, {type(content_type), length(body.size())}));
    client.write(body);
    client.close();
}

void end(const Request &request, Connection &client)
{
    if (request.number("stays", 0) != 0)
        client.wait_for_end();
    else
        client.close();
}
