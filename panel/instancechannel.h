#pragma once

#include <QString>

class QLocalSocket;

/**
 * Where the instances of one program find each other, and who may use it.
 */
struct InstanceChannel
{
    /// What InstanceLock takes; empty when there is no place that only this user can reach.
    QString lockName;

    /// What QLocalServer::listen() and connectToChannel() take; empty together with lockName.
    QString serverName;

    /// Why the names are empty, for a warning; empty otherwise.
    QString errorText;
};

/**
 * Chooses the place of an instance group.
 *
 * On Windows these are the names of a mutex and of a pipe. Elsewhere they are two files in a folder that nobody but the
 * effective user can enter (mode 0700, his own, no symbolic link). The first usable one is taken:
 *
 * - $XDG_RUNTIME_DIR;
 * - /run/user/UID, UID being the number of the user;
 * - kdmx-UID in QDir::tempPath(), made when it is missing;
 * - /tmp/kdmx-UID, made when it is missing.
 *
 * A folder whose name would make the path of the socket longer than 99 bytes is not usable: the system's limit is about
 * 108. Processes with different environments may choose different folders; they do not find each other then.
 *
 * @param id  what singleInstanceId() gives
 *
 * Blocks for a few file operations. May be called from any thread. Rests on lstat(2) and mkdir(2); on Windows on
 * nothing.
 */
InstanceChannel instanceChannel(const QString &id);

/**
 * Makes one attempt to connect to the process that listens on a channel.
 *
 * QLocalSocket::connectToServer() alone is not enough: while the listener is busy it waits for seconds on Windows
 * and stays half connected elsewhere.
 *
 * @param socket  unconnected; connected for reading and writing when the call succeeds. Otherwise it may be left
 *                half connected: take a new one for the next attempt.
 * @param serverName  InstanceChannel::serverName
 * @return false when nobody listens, the listener is busy or access is denied
 *
 * Does not block. Call it in the socket's thread. Rests on QLocalSocket; on Windows also on CreateFileW.
 */
bool connectToChannel(QLocalSocket &socket, const QString &serverName);

/**
 * Gives the process at the other end the right to bring its window to the front.
 *
 * Windows lets only the process that the user started last do that, and only that process can pass the right on.
 * Other systems do not need it: nothing happens there.
 *
 * @param socket  connected with connectToChannel()
 *
 * Does not block. Call it in the socket's thread. Rests on GetNamedPipeServerProcessId and AllowSetForegroundWindow.
 */
void allowForeground(const QLocalSocket &socket);
