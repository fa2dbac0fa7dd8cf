#pragma once

#include "connection.h"
#include "network.h"
#include "request.h"

#include <array>
#include <utility>

/// A connection over a socket, or over TLS over a socket.
template <typename Stream>
class StreamConnection : public Connection
{
public:
    explicit StreamConnection(Stream &stream)
        : m_stream(stream)
    {
    }

    /// Reads one request; throws the network library's error if none comes.
    Request read_request()
    {
        namespace http = boost::beast::http;
        boost::beast::flat_buffer buffer;
        http::request_parser<http::string_body> parser;
        http::read(m_stream, buffer, parser);
        const auto &message = parser.get();
        Request request;
        request.method = std::string(message.method_string());
        request.target = std::string(message.target());
        for (const auto &field : message)
            request.fields.emplace_back(std::string(field.name_string()), std::string(field.value()));
        split_target(request);
        return request;
    }

    void write(std::string_view bytes) override
    {
        boost::asio::write(m_stream, boost::asio::buffer(bytes.data(), bytes.size()));
    }

    void close() override
    {
        say_goodbye(m_stream);
        // Closing while the client still writes would reset the connection.
        boost::system::error_code ignored;
        socket().shutdown(Socket::shutdown_send, ignored);
        wait_for_end();
    }

    void reset() override
    {
        boost::system::error_code ignored;
        socket().set_option(boost::asio::socket_base::linger(true, 0), ignored);
        socket().close(ignored);
    }

    void wait_for_end() override
    {
        std::array<char, 4096> unread{};
        boost::system::error_code ended;
        while (!ended)
            socket().read_some(boost::asio::buffer(unread), ended);
    }

private:
    using Socket = boost::asio::ip::tcp::socket;
    using TlsStream = boost::asio::ssl::stream<Socket>;

    static Socket &socket_of(Socket &plain) { return plain; }
    static Socket &socket_of(TlsStream &stream) { return stream.next_layer(); }
    Socket &socket() { return socket_of(m_stream); }

    static void say_goodbye(Socket &) { }

    static void say_goodbye(TlsStream &stream)
    {
        // Asio's own shutdown() would wait for an answer that not every client gives; a socket that sends nothing more
        // is a goodbye too.
        SSL_set_shutdown(stream.native_handle(), SSL_RECEIVED_SHUTDOWN);
        boost::system::error_code ignored;
        stream.shutdown(ignored);
    }

    Stream &m_stream;
};
