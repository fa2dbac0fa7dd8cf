#include "messageclient.h"

#include "instancechannel.h"
#include "messageframe.h"

#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QThread>

namespace {

constexpr qint64 retryInterval = 20;

bool waitForAcknowledgement(QLocalSocket &socket, const QDeadlineTimer &deadline)
{
    while (socket.bytesAvailable() < messageframe::acknowledgementSize) {
        if (!socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
            return false;
    }
    return socket.read(messageframe::acknowledgementSize) == QByteArrayView(messageframe::acknowledgement);
}

// Each attempt has its own socket: one that failed to connect is not fit for another attempt.
bool deliverOnce(const QString &serverName, const QByteArray &frame, const QDeadlineTimer &deadline)
{
    QLocalSocket socket;
    if (!connectToChannel(socket, serverName))
        return false;

    // Before the text: the other side may come to the front as soon as it has read it.
    allowForeground(socket);
    socket.write(frame);
    socket.flush();
    const bool acknowledged = waitForAcknowledgement(socket, deadline);
    // Merely closing would wait for what a listener that hangs has not read.
    socket.abort();
    return acknowledged;
}

} // namespace

bool deliverMessage(const QString &serverName, const QString &text, int timeout,
                    const std::function<bool()> &nobodyWillListen)
{
    const QByteArray frame = messageframe::fromText(text);
    if (frame.isNull())
        return false;

    const QDeadlineTimer deadline(qMax(0, timeout), Qt::PreciseTimer);
    do {
        if (deliverOnce(serverName, frame, deadline))
            return true;
        if (nobodyWillListen())
            return false;
        QThread::msleep(static_cast<unsigned long>(qMin(retryInterval, deadline.remainingTime())));
    } while (!deadline.hasExpired());
    return false;
}
