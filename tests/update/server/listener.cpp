#include "listener.h"

#include "certificates.h"
#include "streamconnection.h"

#include <exception>
#include <memory>
#include <thread>

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

asio::io_context &context()
{
    static asio::io_context io;
    return io;
}

tcp::endpoint any_port()
{
    return {asio::ip::address_v4::loopback(), 0};
}

template <typename Stream>
void serve(Stream &stream, const std::string &name, const Handler &handler)
{
    StreamConnection<Stream> connection(stream);
    Request request = connection.read_request();
    request.port = name;
    handler(request, connection);
}

void serve(tcp::socket socket, const std::string &name, asio::ssl::context *tls, const Handler &handler)
{
    if (tls == nullptr) {
        serve(socket, name, handler);
        return;
    }
    asio::ssl::stream<tcp::socket> stream(std::move(socket), *tls);
    stream.handshake(asio::ssl::stream_base::server);
    serve(stream, name, handler);
}

/// A client that goes away, or sends nonsense, ends its own connection only.
void serve_safely(tcp::socket socket, const std::string &name, asio::ssl::context *tls, const Handler &handler)
{
    try {
        serve(std::move(socket), name, tls, handler);
    } catch (const std::exception &) {
    }
}

std::shared_ptr<asio::ssl::context> tls_context(const Certificate *certificate)
{
    if (certificate == nullptr)
        return nullptr;
    auto tls = std::make_shared<asio::ssl::context>(asio::ssl::context::tls_server);
    tls->use_certificate(asio::buffer(certificate->pem), asio::ssl::context::pem);
    tls->use_private_key(asio::buffer(certificate->key_pem), asio::ssl::context::pem);
    return tls;
}

} // namespace

std::uint16_t listen(const std::string &name, const Certificate *certificate, const Handler &handler)
{
    const auto acceptor = std::make_shared<tcp::acceptor>(context(), any_port());
    std::thread([acceptor, name, tls = tls_context(certificate), handler] {
        for (;;) {
            std::thread([socket = acceptor->accept(), name, tls, handler]() mutable {
                serve_safely(std::move(socket), name, tls.get(), handler);
            }).detach();
        }
    }).detach();
    return acceptor->local_endpoint().port();
}

std::uint16_t refuse()
{
    static tcp::acceptor taken(context());
    taken.open(tcp::v4());
    taken.bind(any_port());
    return taken.local_endpoint().port();
}
