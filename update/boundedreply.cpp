#include "boundedreply.h"

#include <QNetworkReply>
#include <QPointer>
#include <QUrl>

#include <algorithm>

namespace boundedreply {

namespace {

// Qt stops reading silently when the free buffer is not larger than the last chunk; this margin lets a body of just the
// allowed size finish.
constexpr qint64 limitMargin = 16'777'216;

/// Keeps Qt from buffering much more than a body may hold: a server that sends faster than Qt reads would fill the
/// memory, for Qt reports nothing before it has read all there is. Qt may overshoot by one chunk. Plain HTTP only: Qt
/// takes encrypted data in small pieces anyhow, and HTTP/2 would pile up what is held back.
void limitBuffer(QNetworkReply *reply, qint64 largest)
{
    const auto limit = [reply, largest] {
        if (reply->url().scheme() == QStringLiteral("http"))
            reply->setReadBufferSize(largest + limitMargin);
    };
    limit();
    // To follow a redirection Qt starts over, without the limit, in the event after this signal.
    QObject::connect(reply, &QNetworkReply::redirected, reply, limit, Qt::QueuedConnection);
}

void watchSize(QNetworkReply *reply, qint64 largest, QObject *context, const std::function<void()> &tooLarge)
{
    QObject::connect(reply, &QNetworkReply::downloadProgress, context, [=](qint64 received, qint64 total) {
        if (std::max(received, total) > largest)
            tooLarge();
    });
    // Qt skips progress that follows other progress too soon; beyond the limit no more comes.
    QObject::connect(reply, &QNetworkReply::readyRead, context, [=] {
        if (reply->bytesAvailable() > largest)
            tooLarge();
    });
}

/// Where Qt cannot unpack the data, it keeps receiving for as long as the server sends, and tells nobody.
void watchFailure(QNetworkReply *reply, QObject *context, const std::function<void()> &failed)
{
    const auto judge = [watched = QPointer(reply), failed] {
        if (watched != nullptr && watched->isRunning())
            failed();
    };
    // Later, because it usually ends by itself right now.
    QObject::connect(reply, &QNetworkReply::errorOccurred, context, judge, Qt::QueuedConnection);
}

} // namespace

void watch(QNetworkReply *reply, qint64 largest, QObject *context, const Handlers &handlers)
{
    limitBuffer(reply, largest);
    watchSize(reply, largest, context, handlers.tooLarge);
    watchFailure(reply, context, handlers.failed);
}

bool isUnderWay(const QNetworkReply &reply)
{
    return reply.isRunning() && reply.error() == QNetworkReply::NoError;
}

} // namespace boundedreply
