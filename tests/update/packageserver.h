#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

/**
 * A well-behaved HTTP server on 127.0.0.1 that gives every known address its bytes with status 200, anything else 404.
 * Lives in the event loop of the thread that made it.
 */
class PackageServer : public QObject
{
    Q_OBJECT

public:
    explicit PackageServer(QObject *parent = nullptr);

    /// The full address of a path such as "/a.zip?b".
    QString address(const QString &path) const;

    /// From now on the path has this body. @param headers  further header lines, each with its line end
    void serve(const QString &path, const QByteArray &body, const QByteArray &headers = {});

    /// The same, but the second half of the body comes a byte at a time and takes for ever.
    void serveSlowly(const QString &path, const QByteArray &body);

    /// How many connections are open.
    int connections() const { return m_connections; }

private:
    struct Answer
    {
        QByteArray bytes;
        bool isSlow = false;
    };

    void accept();
    void answer(QTcpSocket &socket);

    QTcpServer m_server;
    QHash<QByteArray, Answer> m_answers;
    int m_connections = 0;
};
