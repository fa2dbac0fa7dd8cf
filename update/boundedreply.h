#pragma once

#include <QtGlobal>

#include <functional>

class QNetworkReply;
class QObject;

/**
 * Replies of servers that may send more than anybody wants, or go on for ever.
 *
 * Call everything on the thread of the reply. Rests on QNetworkReply.
 */
namespace boundedreply {

/// What becomes of a reply that does not end well by itself.
struct Handlers
{
    std::function<void()> tooLarge; ///< more than the limit has come or is announced; perhaps called several times
    std::function<void()> failed; ///< it has failed but does not end
};

/**
 * Watches a reply from its request to its end.
 *
 * @param reply    just asked for
 * @param largest  bytes that its body may have; of what comes by plain http, little more than that is taken
 * @param context  no handler is called once it is gone, or the reply is disconnected from it
 */
void watch(QNetworkReply *reply, qint64 largest, QObject *context, const Handlers &handlers);

/// Whether there is something to abort: Qt complains about aborting a failed reply that has not emitted finished() yet.
bool isUnderWay(const QNetworkReply &reply);

} // namespace boundedreply
