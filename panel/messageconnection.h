#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <chrono>

class QLocalSocket;

/**
 * The receiving end of one connection: takes one text, acknowledges it and waits for the sender to close.
 *
 * It trusts the sender with nothing: memory is bounded by the longest text, and a connection that lasts longer than
 * its time limit is dropped, whatever state it is in. Bytes after the text are left unread.
 *
 * Use it in the thread of the socket; nothing blocks. Rests on QLocalSocket.
 */
class MessageConnection : public QObject
{
    Q_OBJECT

public:
    /**
     * Starts to receive.
     *
     * @param socket  connected; not null. Owned by this object from now on.
     * @param timeLimit  how long the connection may last from now
     * @param parent  owner of this object
     */
    MessageConnection(QLocalSocket *socket, std::chrono::milliseconds timeLimit, QObject *parent);

    /// Ends the connection at once; finished() is emitted before the call returns, unless it was before.
    void drop();

Q_SIGNALS:
    /// A whole text has come and the acknowledgement was written. Do not delete this object in a direct slot.
    void received(const QString &text);

    /// The connection is over; emitted once. Delete this object with deleteLater() only.
    void finished();

private:
    void readMore();
    void acknowledge();

    QLocalSocket *m_socket;
    QTimer m_timeLimit;
    QByteArray m_frame;
    bool m_acknowledged = false;
    bool m_finished = false;
};
