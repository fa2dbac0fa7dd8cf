#include "packageserver.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QTimer>

namespace {

const QByteArray headerEnd("\r\n\r\n");
// Up to 20 ms Qt uses multimedia timers on Windows, of which Wine 8 loses some.
constexpr int trickleMs = 25;

QByteArray header(const QByteArray &status, qsizetype size, const QByteArray &further = {})
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(size) + "\r\nConnection: close\r\n"
        + further + "\r\n";
}

void trickle(QTcpSocket &socket)
{
    auto *const timer = new QTimer(&socket);
    QObject::connect(timer, &QTimer::timeout, &socket, [&socket] { socket.write("x"); });
    timer->start(trickleMs);
}

} // namespace

PackageServer::PackageServer(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &PackageServer::accept);
    if (!m_server.listen(QHostAddress::LocalHost))
        qFatal("PackageServer: cannot listen");
}

QString PackageServer::address(const QString &path) const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort()) + path;
}

void PackageServer::serve(const QString &path, const QByteArray &body, const QByteArray &headers)
{
    m_answers[path.toUtf8()] = {header("200 OK", body.size(), headers) + body, false};
}

void PackageServer::serveSlowly(const QString &path, const QByteArray &body)
{
    m_answers[path.toUtf8()] = {header("200 OK", body.size()) + body.first(body.size() / 2), true};
}

void PackageServer::accept()
{
    while (QTcpSocket *const socket = m_server.nextPendingConnection()) {
        ++m_connections;
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(*socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            --m_connections;
            socket->deleteLater();
        });
    }
}

void PackageServer::answer(QTcpSocket &socket)
{
    if (!socket.peek(socket.bytesAvailable()).contains(headerEnd))
        return;
    const QByteArray path = socket.readAll().split(' ').value(1);
    const Answer answer = m_answers.value(path, {header("404 Not Found", 0), false});
    socket.write(answer.bytes);
    if (answer.isSlow)
        trickle(socket);
    else
        socket.disconnectFromHost();
}
