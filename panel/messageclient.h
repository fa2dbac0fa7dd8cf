#pragma once

#include <QString>

#include <functional>

/**
 * Delivers a text to the process that listens on a channel (see MessageServer) and waits for its acknowledgement.
 *
 * It tries again while nobody listens yet, while the listener is busy and when the connection is closed without an
 * acknowledgement. In the last case the text may have arrived all the same, and then arrives twice.
 *
 * @param serverName  InstanceChannel::serverName
 * @param text  at most messageframe::maximumTextSize bytes of UTF-8
 * @param timeout  in milliseconds; nothing is sent after it. Zero or less makes one attempt without waiting, so even
 *                 a text that arrives is hardly ever acknowledged in time.
 * @param nobodyWillListen  asked after each attempt that failed; true ends the delivery. Must not block.
 * @return true once the acknowledgement is here; false when the time is over, when nobodyWillListen says so, or at
 *         once when the text is too long
 *
 * Blocks for at most the time-out; sleeps while it waits and runs no event loop. May be called from any thread.
 * Rests on QLocalSocket.
 */
bool deliverMessage(const QString &serverName, const QString &text, int timeout,
                    const std::function<bool()> &nobodyWillListen);
