#pragma once

#include <QList>
#include <QObject>
#include <QTimer>

#include <chrono>

class MessageConnection;
class QLocalServer;

/**
 * Receives texts from other processes of the same user (see deliverMessage()).
 *
 * Everything happens in the event loop of the object's thread and nothing waits, so no sender can hold up another
 * one, however it behaves: each has a time limit, and when too many are connected the oldest must go.
 *
 * Deleting the object ends all connections. Rests on QLocalServer with QLocalServer::UserAccessOption.
 */
class MessageServer : public QObject
{
    Q_OBJECT

public:
    /// What senders may take up.
    struct Limits
    {
        /// How long one connection may last.
        std::chrono::milliseconds connectionTime = std::chrono::seconds(5);

        /// How many may be connected at the same time; at least 1.
        qsizetype connections = 256;
    };

    /**
     * Makes a server that does not listen yet.
     *
     * @param limits  of all connections
     * @param parent  owner of this object, or null
     */
    explicit MessageServer(const Limits &limits, QObject *parent = nullptr);

    ~MessageServer() override;

    /**
     * Starts to listen; call it once.
     *
     * A socket file that is in the way is removed. Call this only while holding the lock of the channel: otherwise
     * it takes the place of a living server.
     *
     * @param serverName  InstanceChannel::serverName
     * @return false when the channel cannot be made: errorText() says why, and the server keeps trying
     *
     * Blocks for a few file operations.
     */
    bool listen(const QString &serverName);

    /// Why listen() failed, for a warning.
    QString errorText() const;

Q_SIGNALS:
    /// A text has come and was acknowledged. Slots may take their time and may run an event loop.
    void messageReceived(const QString &message);

private:
    void watchListener();
    void listenAgain();
    void acceptPending();
    void forget(MessageConnection *connection);
    void announce(const QString &message);

    Limits m_limits;
    QString m_serverName;
    QLocalServer *m_server;
    QTimer *m_pauseBeforeListening;
    QList<MessageConnection *> m_connections;
};
