#include "feedserver.h"

#include <QNetworkProxy>
#include <QRandomGenerator>
#include <QTcpSocket>
#include <QTimer>

namespace {

constexpr qint64 largestHead = 16'384;
constexpr int patienceMs = 30'000;

/// Proxies of the user's network know nothing of this machine's own servers.
class LocalFactory : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        if (QHostAddress(query.peerHostName()).isLoopback())
            return {QNetworkProxy(QNetworkProxy::NoProxy)};
        return systemProxyForQuery(query);
    }
};

QByteArray randomPath()
{
    QByteArray name;
    for (int part = 0; part < 2; ++part)
        name += QByteArray::number(QRandomGenerator::system()->generate64(), 16);
    return '/' + name + "/feed.json";
}

QByteArray head(const QByteArray &status, const QByteArray &type, qsizetype length)
{
    return "HTTP/1.1 " + status + "\r\nContent-Type: " + type + "\r\nContent-Length: " + QByteArray::number(length)
        + "\r\nCache-Control: no-store\r\nConnection: close\r\n";
}

QByteArray refusal(const QByteArray &status, const QByteArray &furtherLines = {})
{
    const QByteArray body = status + '\n';
    return head(status, "text/plain; charset=utf-8", body.size()) + furtherLines + "\r\n" + body;
}

} // namespace

FeedServer::FeedServer(const QByteArray &document)
    : m_document(document)
    , m_path(randomPath())
{
    QNetworkProxyFactory::setApplicationProxyFactory(new LocalFactory);
    m_server.setProxy(QNetworkProxy::NoProxy);
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] { welcome(); });
}

bool FeedServer::begin()
{
    return m_server.listen(QHostAddress::LocalHost);
}

QUrl FeedServer::address() const
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(m_server.serverAddress().toString());
    url.setPort(m_server.serverPort());
    url.setPath(QString::fromLatin1(m_path));
    return url;
}

void FeedServer::welcome()
{
    while (QTcpSocket *const client = m_server.nextPendingConnection()) {
        QObject::connect(client, &QTcpSocket::readyRead, &m_server, [this, client] { take(client); });
        QObject::connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
        // A client that connects and says nothing is dropped.
        QTimer::singleShot(patienceMs, client, &QTcpSocket::abort);
    }
}

/// Answers once the whole head of a request is there. One answer a connection.
void FeedServer::take(QTcpSocket *client)
{
    const QByteArray received = client->peek(largestHead);
    const bool isComplete = received.contains("\r\n\r\n");
    if (!isComplete && received.size() < largestHead)
        return;
    client->disconnect(&m_server);
    client->readAll();
    client->write(isComplete ? answerTo(received.left(received.indexOf("\r\n")))
                             : refusal("431 Request Header Fields Too Large"));
    client->disconnectFromHost();
}

QByteArray FeedServer::answerTo(const QByteArray &requestLine) const
{
    const QList<QByteArray> words = requestLine.split(' ');
    if (words.size() != 3 || !words[2].startsWith("HTTP/1."))
        return refusal("400 Bad Request");
    if (words[0] != "GET" && words[0] != "HEAD")
        return refusal("405 Method Not Allowed", "Allow: GET, HEAD\r\n");
    if (words[1] != m_path)
        return refusal("404 Not Found");
    const QByteArray body = words[0] == "GET" ? m_document : QByteArray();
    return head("200 OK", "application/json", m_document.size()) + "\r\n" + body;
}
