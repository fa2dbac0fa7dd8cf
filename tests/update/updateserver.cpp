#include "updateserver.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTcpSocket>
#include <QThread>

namespace {

const QString authorityName = QStringLiteral("authority.pem");
const QString portsName = QStringLiteral("ports.json");

QByteArray fileContent(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool trust(const QString &fileName)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    const bool trusted = configuration.addCaCertificates(fileName);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return trusted;
}

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
    : m_keeper([this] { keep(); })
{
    constexpr int patienceMs = 30'000;
    constexpr int pauseMs = 5;
    const QDeadlineTimer deadline(patienceMs);
    QByteArray line;
    while (!line.endsWith('\n') && !deadline.hasExpired()) {
        QThread::msleep(pauseMs);
        line = fileContent(m_folder.filePath(portsName));
    }
    if (trust(m_folder.filePath(authorityName)))
        m_ports = ports(line);
    if (!isRunning())
        qWarning() << "the update server does not start:" << qEnvironmentVariable("KDMX_UPDATE_SERVER");
}

UpdateServer::~UpdateServer()
{
    m_end = true;
    m_end.notify_one();
    m_keeper.join();
}

/// ThreadSanitizer no longer sees the locks of a thread that has started a process, so that thread does nothing else,
/// and nothing but a file comes back from it.
void UpdateServer::keep()
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setStandardOutputFile(m_folder.filePath(portsName));
    process.start(qEnvironmentVariable("KDMX_UPDATE_SERVER"), {m_folder.filePath(authorityName), m_folder.path()});
    if (!process.waitForStarted())
        return;
    m_end.wait(false);
    process.closeWriteChannel();
    if (!process.waitForFinished())
        process.kill();
}

QString UpdateServer::address(const QString &path, const QString &port) const
{
    const QString scheme = port == QStringLiteral("http") ? port : QStringLiteral("https");
    return QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme, QString::number(m_ports.value(port)), path);
}

void UpdateServer::addFile(const QString &name, const QByteArray &content) const
{
    QFile file(m_folder.filePath(name));
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
