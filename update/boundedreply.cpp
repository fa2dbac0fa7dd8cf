#include "boundedreply.h"

#include <QNetworkReply>
#include <QPointer>
#include <QUrl>

#include <algorithm>

namespace boundedreply {

namespace {

// Qt wants more room left than the piece before had, or it takes no more and says nothing: without that much to spare
// the end of a body that is just allowed would not come.
constexpr qint64 limitMargin = 16'777'216;

/// Keeps Qt from buffering much more than a body may hold: a server that sends faster than Qt reads would fill the
/// memory, for Qt tells of nothing before it has read all there is. Qt may overshoot by one chunk. Plain HTTP only:
/// what is encrypted it takes in small pieces anyhow, and HTTP/2 would pile up what is held back.
void limitBuffer(QNetworkReply *reply, qint64 largest)
{
    const auto limit = [reply, largest] {
        if (reply->url().scheme() == QStringLiteral("http"))
            reply->setReadBufferSize(largest + limitMargin);
    };
    limit();
    // Where it follows a redirection Qt begins anew, without the limit, in the event behind this signal.
    QObject::connect(reply, &QNetworkReply::redirected, reply, limit, Qt::QueuedConnection);
}

void watchSize(QNetworkReply *reply, qint64 largest, QObject *context, const std::function<void()> &tooLarge)
{
    QObject::connect(reply, &QNetworkReply::downloadProgress, context, [=](qint64 received, qint64 total) {
        if (std::max(received, total) > largest)
            tooLarge();
    });
    // Qt leaves out progress that comes soon after other; behind the limit no more comes.
    QObject::connect(reply, &QNetworkReply::readyRead, context, [=] {
        if (reply->bytesAvailable() > largest)
            tooLarge();
    });
}

/// Where Qt cannot unpack what comes, it goes on taking it for as long as the server likes, and tells nobody.
void watchFailure(QNetworkReply *reply, QObject *context, const std::function<void()> &failed)
{
    const auto judge = [watched = QPointer(reply), failed] {
        if (watched != nullptr && watched->isRunning())
            failed();
    };
    // Later, for as a rule it ends by itself now.
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
