#include "updateserver.h"

#include "filecontent.h"
#include "systemnetwork.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QTcpSocket>

namespace {

QHash<QString, quint16> ports(const QByteArray &line)
{
    QHash<QString, quint16> named;
    const QJsonObject told = QJsonDocument::fromJson(line).object();
    for (auto port = told.begin(); port != told.end(); ++port)
        named.insert(port.key(), static_cast<quint16>(port.value().toInt()));
    return named;
}

} // namespace

UpdateServer::UpdateServer()
    : m_folder(QFileInfo(qEnvironmentVariable("KDMX_UPDATE_SERVER_FOLDER")).canonicalFilePath())
{
    if (systemnetwork::trustAuthority(m_folder + QStringLiteral("/authority.pem")))
        m_ports = ports(contentOf(m_folder + QStringLiteral("/ports.json")));
    if (isRunning())
        forgetRequests();
    else
        qWarning() << "there is no update server in" << m_folder;
}

QString UpdateServer::address(const QString &path, const QString &port) const
{
    const QString scheme = port == QStringLiteral("http") ? port : QStringLiteral("https");
    return QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme, QString::number(m_ports.value(port)), path);
}

void UpdateServer::addFile(const QString &name, const QByteArray &content) const
{
    QFile file(m_folder + u'/' + name);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qWarning() << "cannot write" << file.fileName();
}

/// By a plain socket: no event loop runs meanwhile, and nothing of what is tested is used.
QByteArray UpdateServer::content(const QString &path) const
{
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    socket.connectToHost(QStringLiteral("127.0.0.1"), m_ports.value(QStringLiteral("http")));
    socket.write("GET " + path.toUtf8() + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    while (socket.waitForReadyRead() || socket.state() == QAbstractSocket::ConnectedState) { }
    const QByteArray answer = socket.readAll();
    if (!answer.startsWith("HTTP/1.1 200"))
        qWarning() << "the update server does not answer" << path;
    return answer.mid(answer.indexOf("\r\n\r\n") + 4);
}

QJsonArray UpdateServer::requests() const
{
    return QJsonDocument::fromJson(content(QStringLiteral("/control/requests"))).array();
}

QStringList UpdateServer::targets() const
{
    QStringList list;
    for (const auto &request : requests())
        list.append(request[QStringLiteral("target")].toString());
    return list;
}

void UpdateServer::forgetRequests() const
{
    content(QStringLiteral("/control/forget"));
}

void UpdateServer::step(const QString &name) const
{
    content(QStringLiteral("/control/step?name=") + name);
}

QByteArray UpdateServer::body(qsizetype size)
{
    constexpr qsizetype period = 251;
    QByteArray content(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        content[i] = static_cast<char>(i % period);
    return content;
}
