#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonArray>
#include <QString>

/**
 * The web server beside this process (tests/update/server/serve has started it, its README lists the paths), with
 * nothing asked of it yet. This process (on Windows the user) trusts its authority from then on.
 *
 * Functions that ask the server block until it has answered. Needs $KDMX_UPDATE_SERVER_FOLDER. Make it before the
 * current folder changes.
 */
class UpdateServer
{
public:
    UpdateServer();

    bool isRunning() const { return !m_ports.isEmpty(); }

    /// Full address of a path on one of the server's ports, https on those with a certificate.
    QString address(const QString &path, const QString &port = QStringLiteral("http")) const;

    quint16 port(const QString &name) const { return m_ports.value(name); }

    /// What /files/NAME gives.
    void addFile(const QString &name, const QByteArray &content) const;

    /// Everything asked of the server since the start or forgetRequests(): objects of port, method, target, fields.
    QJsonArray requests() const;

    /// The targets of requests().
    QStringList targets() const;

    void forgetRequests() const;

    /// Lets the /stepped response of that name go on by one: the header first, then the pieces.
    void step(const QString &name = QString()) const;

    /// The body of a path, asked for without anything of what is tested.
    QByteArray content(const QString &path) const;

    /// The content of the server's bodies of that size.
    static QByteArray body(qsizetype size);

private:
    QString m_folder;
    QHash<QString, quint16> m_ports;
};
