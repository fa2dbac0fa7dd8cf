#include "messageserver.h"

#include "messageconnection.h"

#include <QLocalServer>
#include <QLocalSocket>

namespace {

// A hundred starts at once must all find a place while this process is still busy with its own start.
constexpr int backlog = 128;

constexpr std::chrono::milliseconds pauseBeforeListening(200);

} // namespace

MessageServer::MessageServer(const Limits &limits, QObject *parent)
    : QObject(parent)
    , m_limits(limits)
    , m_server(new QLocalServer(this))
    , m_pauseBeforeListening(new QTimer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    m_server->setListenBacklogSize(backlog);
    connect(m_server, &QLocalServer::newConnection, this, &MessageServer::acceptPending);

    m_pauseBeforeListening->setSingleShot(true);
    m_pauseBeforeListening->setInterval(pauseBeforeListening);
    connect(m_pauseBeforeListening, &QTimer::timeout, this, &MessageServer::listenAgain);
}

MessageServer::~MessageServer() = default;

bool MessageServer::listen(const QString &serverName)
{
    m_serverName = serverName;
    QLocalServer::removeServer(m_serverName);
    if (!m_server->listen(m_serverName)) {
        m_pauseBeforeListening->start();
        return false;
    }
    watchListener();
    return true;
}

QString MessageServer::errorText() const
{
    return m_server->errorString();
}

// When one connection cannot be accepted (too many open files, for example) QLocalServer stops listening without a
// signal and goes on calling itself listening. Only the end of its notifier, its only child, shows that.
void MessageServer::watchListener()
{
    const QObjectList notifiers = m_server->children();
    for (const QObject *notifier : notifiers)
        connect(notifier, &QObject::destroyed, m_pauseBeforeListening, qOverload<>(&QTimer::start));
}

void MessageServer::listenAgain()
{
    m_server->close();
    listen(m_serverName);
}

void MessageServer::acceptPending()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        if (m_connections.size() >= m_limits.connections)
            m_connections.constFirst()->drop();

        auto *connection = new MessageConnection(socket, m_limits.connectionTime, this);
        connect(connection, &MessageConnection::received, this, &MessageServer::announce);
        connect(connection, &MessageConnection::finished, this, [this, connection] { forget(connection); });
        m_connections.append(connection);
    }
}

void MessageServer::forget(MessageConnection *connection)
{
    m_connections.removeOne(connection);
    connection->deleteLater();
}

// Later, from the event loop: a slot that opens a dialog would otherwise run its event loop inside the connection.
void MessageServer::announce(const QString &message)
{
    QMetaObject::invokeMethod(
        this, [this, message] { Q_EMIT messageReceived(message); }, Qt::QueuedConnection);
}
