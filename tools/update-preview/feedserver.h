#pragma once

#include <QByteArray>
#include <QTcpServer>
#include <QUrl>

class QTcpSocket;

/**
 * Serves one document by HTTP to programs of this machine, at an address that cannot be guessed. Needs an event loop.
 */
class FeedServer
{
public:
    /// @param document  what is served
    explicit FeedServer(const QByteArray &document);

    /// Starts to listen. @return false if that cannot be done; see errorString()
    bool begin();

    QString errorString() const { return m_server.errorString(); }

    /// Where the document is, once the server listens.
    QUrl address() const;

private:
    void welcome();
    void take(QTcpSocket *client);
    QByteArray answerTo(const QByteArray &requestLine) const;

    QTcpServer m_server;
    QByteArray m_document;
    QByteArray m_path;
};
