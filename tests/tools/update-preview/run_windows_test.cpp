#include "feedtext.h"
#include "filecontent.h"
#include "previewprocess.h"

#include <QDir>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

const QString offerTitle = QStringLiteral("VELMAR Update Information");
const QString accept = QStringLiteral("space");

/// Gives a package to every client that asks.
class Server
{
public:
    explicit Server(const QByteArray &package)
    {
        const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(package.size()) + "\r\n\r\n";
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this, answer = head + package] {
            QTcpSocket *const client = m_server.nextPendingConnection();
            QObject::connect(client, &QTcpSocket::readyRead, client, [client, answer] {
                if (client->readAll().endsWith("\r\n\r\n"))
                    client->write(answer);
            });
        });
    }

    QString address() const { return QStringLiteral("http://127.0.0.1:%1/setup.exe").arg(m_server.serverPort()); }

private:
    QTcpServer m_server;
};

QString feedWithPackage(const feedtext::Files &files, const QString &address)
{
    QJsonObject entry = feedtext::goodEntry();
    entry.remove(QStringLiteral("messages"));
    entry[QStringLiteral("windows_software_url_en")] = address;
    return files.write(feedtext::withEntry(entry));
}

} // namespace

/// The service with its real windows on Windows, for a user whose folders are outside the code page.
class RunWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void laterEndsTheRun()
    {
        const feedtext::Files files;
        PreviewProcess process;
        start(&process, feedWithPackage(files, QStringLiteral("http://127.0.0.1:1/setup.exe")));
        QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
        process.press({QStringLiteral("Tab"), accept}, offerTitle);
        const Outcome outcome = process.finish();
        QCOMPARE(outcome.code, 0);
        QVERIFY2(outcome.err.contains(QStringLiteral("UpdateSoftware: Software update cancel\n")),
                 qPrintable(outcome.err));
        QVERIFY(process.hasLeftNothing());
    }

    static void installerIsStartedAndItsFilesStay()
    {
        const feedtext::Files files;
        const Server server(contentOf(qEnvironmentVariable("KDMX_INSTALLER_WITNESS")));
        PreviewProcess process;
        process.setVariable(QStringLiteral("KDMX_WITNESS_MARKS"), files.path(QString()));
        start(&process, feedWithPackage(files, server.address()));
        QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
        process.press({accept}, offerTitle);
        QVERIFY2(process.awaitError(QStringLiteral("UpdateInformation: exec ")), qPrintable(process.error()));
        const Outcome outcome = process.pressToTheEnd({accept}, offerTitle);
        QCOMPARE(outcome.code, 0);

        QTRY_VERIFY(contentOf(files.path(QStringLiteral("begun"))).count('\n') == 3);
        const QString begun = QString::fromUtf8(contentOf(files.path(QStringLiteral("begun"))));
        QVERIFY2(begun.startsWith(QDir::toNativeSeparators(process.temporaryFolder())), qPrintable(begun));
        static const QRegularExpression stay(QStringLiteral("The installer's files stay in (.+)\\.\n"));
        const QString folder = stay.match(outcome.err).captured(1);
        QVERIFY2(begun.startsWith(folder), qPrintable(outcome.err));
    }

private:
    static void start(PreviewProcess *process, const QString &feed)
    {
        const QString letters = QStringLiteral("一時 フォルダー");
        QVERIFY(QDir(process->home()).mkpath(letters));
        process->useTemporaryFolder(process->home() + u'/' + letters);
        process->start({QStringLiteral("--feed"), feed, QStringLiteral("--lang"), QStringLiteral("en")});
    }
};

QTEST_GUILESS_MAIN(RunWindowsTest)
#include "run_windows_test.moc"
