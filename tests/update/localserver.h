#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

class QTcpServer;
class QTcpSocket;

/**
 * A web server on 127.0.0.1 that says what a test tells it to say, byte by byte, and nothing else: what it was not told
 * about it leaves waiting. Lives in the test's thread and serves while that thread runs its event loop.
 */
class LocalServer : public QObject
{
    Q_OBJECT

public:
    LocalServer();

    /// Address of a path, which begins with "/".
    QString url(const QString &path) const;

    /// Answers requests for the path with a body.
    void serve(const QString &path, const QByteArray &body);

    /// Answers requests for the path with the head of a body of this size only; send() sends the rest.
    void serveHead(const QString &path, qint64 size);

    /// Sends bytes to all who have asked for something.
    void send(const QByteArray &bytes);

    /// How many requests have come.
    int requests() const { return m_requests; }

private:
    void accept();
    void answer(QTcpSocket *client);

    QTcpServer *m_server;
    QHash<QByteArray, QByteArray> m_answers;
    QList<QTcpSocket *> m_clients;
    int m_requests = 0;
};
