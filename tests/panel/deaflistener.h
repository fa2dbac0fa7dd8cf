#pragma once

#include <QString>
#include <QtGlobal>

#include <memory>

/**
 * A listener that never accepts: the state of a process that hangs.
 *
 * Rests on a Unix socket, or on Windows on instances of a named pipe that nobody serves.
 */
class DeafListener
{
public:
    /**
     * Starts to listen.
     *
     * @param serverName  what a local socket connects to
     * @param backlog  how many connections may wait besides the first
     */
    DeafListener(const QString &serverName, int backlog);

    /// Ends all connections.
    ~DeafListener();

    Q_DISABLE_COPY_MOVE(DeafListener)

    bool listens() const;

    /// Waits until somebody has connected; false if nobody does within the given milliseconds.
    bool hasCaller(int timeoutMs) const;

private:
    struct Place;

    std::unique_ptr<Place> m_place;
};
