#include "messageconnection.h"

#include "messageframe.h"

#include <QLocalSocket>

namespace {

// How much a sender can make this process store before it looks at it.
constexpr qint64 readBufferSize = 4096;

} // namespace

MessageConnection::MessageConnection(QLocalSocket *socket, std::chrono::milliseconds timeLimit, QObject *parent)
    : QObject(parent)
    , m_socket(socket)
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(readBufferSize);
    connect(m_socket, &QLocalSocket::readyRead, this, &MessageConnection::readMore);
    connect(m_socket, &QLocalSocket::disconnected, this, &MessageConnection::drop);

    m_timeLimit.setSingleShot(true);
    connect(&m_timeLimit, &QTimer::timeout, this, &MessageConnection::drop);
    m_timeLimit.start(timeLimit);
}

void MessageConnection::drop()
{
    if (m_finished)
        return;

    m_finished = true;
    m_timeLimit.stop();
    m_socket->abort();
    Q_EMIT finished();
}

void MessageConnection::readMore()
{
    while (!m_finished && !m_acknowledged && m_socket->bytesAvailable() > 0) {
        m_frame += m_socket->read(messageframe::missingBytes(m_frame));
        const qsizetype missing = messageframe::missingBytes(m_frame);
        if (missing < 0)
            drop();
        else if (missing == 0)
            acknowledge();
    }
}

void MessageConnection::acknowledge()
{
    m_acknowledged = true;
    m_socket->write(messageframe::acknowledgement, messageframe::acknowledgementSize);
    m_socket->flush();
    Q_EMIT received(messageframe::toText(m_frame));
    m_frame.clear();
}
