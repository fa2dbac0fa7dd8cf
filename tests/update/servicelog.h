#pragma once

#include <QString>
#include <QStringList>

/**
 * Collects the lines that the update service logs while it lives, from both of its threads, and passes everything on.
 * One at a time. May be asked from any thread.
 */
class ServiceLog
{
public:
    ServiceLog();
    ~ServiceLog();
    Q_DISABLE_COPY_MOVE(ServiceLog)

    /// Lines of UpdateSoftware so far, in order, without their prefix "UpdateSoftware: ", and forgets them.
    static QStringList take();

    /// Whether this line was logged by any thread since the last forget(); with its prefix.
    static bool contains(const QString &line);

    /// Waits, without serving events, until a thread has logged this line; false if it has not after half a minute.
    static bool waitFor(const QString &line);

    static void forget();
};
