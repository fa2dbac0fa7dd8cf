#include "localserver.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

QByteArray head(qint64 size)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(size) + "\r\n\r\n";
}

} // namespace

LocalServer::LocalServer()
    : m_server(new QTcpServer(this))
{
    QVERIFY(m_server->listen(QHostAddress::LocalHost));
    connect(m_server, &QTcpServer::newConnection, this, &LocalServer::accept);
}

QString LocalServer::url(const QString &path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(m_server->serverPort()).arg(path);
}

void LocalServer::serve(const QString &path, const QByteArray &body)
{
    m_answers.insert(path.toLatin1(), head(body.size()) + body);
}

void LocalServer::serveHead(const QString &path, qint64 size)
{
    m_answers.insert(path.toLatin1(), head(size));
}

void LocalServer::send(const QByteArray &bytes)
{
    for (QTcpSocket *const client : std::as_const(m_clients)) {
        client->write(bytes);
        client->flush();
    }
}

void LocalServer::accept()
{
    while (QTcpSocket *const client = m_server->nextPendingConnection()) {
        m_clients.append(client);
        connect(client, &QTcpSocket::readyRead, this, [this, client] { answer(client); });
        connect(client, &QTcpSocket::disconnected, this, [this, client] {
            m_clients.removeOne(client);
            client->deleteLater();
        });
    }
}

void LocalServer::answer(QTcpSocket *client)
{
    // A request of these tests has no body: "GET /path HTTP/1.1", headers, an empty line.
    const QByteArray request = client->peek(client->bytesAvailable());
    if (!request.endsWith("\r\n\r\n"))
        return;
    client->skip(request.size());
    ++m_requests;
    client->write(m_answers.value(request.split(' ').value(1)));
}
