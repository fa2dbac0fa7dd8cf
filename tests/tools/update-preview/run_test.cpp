#include "feedtext.h"
#include "previewprocess.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

/// The service with its real windows on a real display.
class RunTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void windowsSpeakTheLanguage_data();
    static void windowsSpeakTheLanguage();
    static void firmwareIsAskedAboutBehindTheProgram();
    static void unitWithoutOfferEndsTheRun_data();
    static void unitWithoutOfferEndsTheRun();
    static void endsWhereThereIsNothingToShow_data();
    static void endsWhereThereIsNothingToShow();
    static void addressIsFetched();
    static void failedFetchIsReported_data();
    static void failedFetchIsReported();
    static void usersSettingsAreNeitherReadNorWritten();
    static void signalEndsTheRunCleanly();
    static void signalEndsTheFetch();
    static void errorBoxEndsTheRun();
    static void cancelledDownloadEndsTheRun();
    static void installerIsStartedAndItsFilesStay();
    static void galleryCanBeDrawnOnTheDisplay();
    static void serverAnswersByTheRules_data();
    static void serverAnswersByTheRules();
};

namespace {

const QString offerTitle = QStringLiteral("VELMAR Update Information");
const QString newsTitle = QStringLiteral("VELMAR Latest Information");
const QStringList accept{QStringLiteral("space")};
const QStringList decline{QStringLiteral("Tab"), QStringLiteral("space")};

QStringList feed(const QString &file, const QStringList &further = {})
{
    return QStringList{QStringLiteral("--feed"), file, QStringLiteral("--lang"), QStringLiteral("en")} + further;
}

QStringList unit(const char *name, const char *firmware)
{
    return {QStringLiteral("--unit"), QString::fromLatin1(name), QStringLiteral("--firmware"),
            QString::fromLatin1(firmware)};
}

/// The good entry without news.
QJsonObject quietEntry()
{
    QJsonObject entry = feedtext::goodEntry();
    entry.remove(QStringLiteral("messages"));
    return entry;
}

/// The same with no newer program.
QJsonObject firmwareEntry()
{
    QJsonObject entry = quietEntry();
    entry.remove(QStringLiteral("windows_software_version_minor"));
    return entry;
}

/// The quiet entry whose program lies at an address.
QJsonObject entryWithPackage(const QString &address)
{
    QJsonObject entry = quietEntry();
    entry[QStringLiteral("windows_software_url_en")] = address;
    return entry;
}

bool isEmpty(const QString &folder)
{
    return QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

/// Answers each request with the same bytes, and then, if wanted, with one byte after the other without end.
class PackageServer
{
public:
    explicit PackageServer(const QByteArray &answer, bool drips = false)
    {
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this, answer, drips] {
            QTcpSocket *const client = m_server.nextPendingConnection();
            QObject::connect(client, &QTcpSocket::readyRead, client, [client, answer] {
                constexpr qint64 longestHead = 4096;
                if (client->peek(longestHead).endsWith("\r\n\r\n"))
                    client->write(answer);
            });
            if (drips)
                drip(client);
        });
    }

    QString address(const QString &name) const
    {
        return QStringLiteral("http://127.0.0.1:%1/%2").arg(m_server.serverPort()).arg(name);
    }

private:
    static void drip(QTcpSocket *client)
    {
        auto *const timer = new QTimer(client);
        QObject::connect(timer, &QTimer::timeout, client, [client] { client->write("x"); });
        // Faster than Qt reports progress.
        QObject::connect(client, &QTcpSocket::readyRead, timer, [timer] { timer->start(20); });
    }

    QTcpServer m_server;
};

QByteArray success(const QByteArray &body)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// The address that a served file is fetched from.
QUrl servedAddress(PreviewProcess *process)
{
    static const QRegularExpression line(QStringLiteral("UpdateInformation: (http://\\S+)\\n"));
    if (!process->awaitError(QStringLiteral("end of replyFinished")))
        return {};
    return QUrl(line.match(process->error()).captured(1));
}

QByteArray answerTo(const QUrl &server, const QByteArray &request)
{
    QTcpSocket socket;
    socket.connectToHost(server.host(), static_cast<quint16>(server.port()));
    socket.write(request);
    QByteArray answer;
    while (socket.state() != QAbstractSocket::UnconnectedState && socket.waitForReadyRead())
        answer += socket.readAll();
    return answer + socket.readAll();
}

} // namespace

void RunTest::windowsSpeakTheLanguage_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("news");
    QTest::addColumn<QString>("offer");
    QTest::newRow("German") << QStringLiteral("de") << QStringLiteral("VELMAR – Neueste Informationen")
                            << QStringLiteral("VELMAR Update-Information");
    QTest::newRow("French with a country") << QStringLiteral("fr_CA") << QStringLiteral("Dernières informations VELMAR")
                                           << QStringLiteral("Informations de mise à jour VELMAR");
    QTest::newRow("Chinese with a hyphen")
        << QStringLiteral("zh-CN") << QStringLiteral("VELMAR最新信息") << QStringLiteral("VELMAR更新信息");
    QTest::newRow("without texts") << QStringLiteral("nl") << newsTitle << offerTitle;
}

void RunTest::windowsSpeakTheLanguage()
{
    QFETCH(const QString, language);
    QFETCH(const QString, news);
    QFETCH(const QString, offer);
    const feedtext::Files files;
    PreviewProcess process;
    process.start({QStringLiteral("--feed"), files.write(feedtext::withEntry(feedtext::goodEntry())),
                   QStringLiteral("--lang"), language});
    QVERIFY2(process.awaitWindow(news), qPrintable(process.error()));
    QVERIFY2(process.awaitWindow(offer), qPrintable(process.error()));
    process.press(accept, news);
    QVERIFY(process.awaitNoWindow(news));
    process.press(decline, offer);
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.err.contains(QStringLiteral("UpdateSoftware: Software update cancel\n")), qPrintable(outcome.err));
    QVERIFY(isEmpty(process.temporaryFolder()));
}

void RunTest::firmwareIsAskedAboutBehindTheProgram()
{
    const feedtext::Files files;
    PreviewProcess process;
    process.start(feed(files.write(feedtext::withEntry(quietEntry())), unit("KD-MX4", "1.02")));
    QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
    QVERIFY(process.awaitError(QStringLiteral("Software update start")));
    QVERIFY(!process.error().contains(QStringLiteral("UpdateSoftware: Firmware")));
    process.press(decline, offerTitle);
    QVERIFY2(process.awaitError(QStringLiteral("UpdateSoftware: Firmware update start")), qPrintable(process.error()));
    QVERIFY(process.error().contains(QStringLiteral("UpdateSoftware: Firmware nowMinor 2\n")));
    QVERIFY(process.awaitWindow(offerTitle));
    // The first offer, of the same title, may still be closing.
    QCOMPARE(process.pressToTheEnd(decline, offerTitle).code, 0);
}

void RunTest::unitWithoutOfferEndsTheRun_data()
{
    QTest::addColumn<QStringList>("unit");
    QTest::addColumn<QString>("line");
    QTest::newRow("up to date") << unit("KD-MX2", "1.05") << QStringLiteral("UpdateSoftware: Firmware update none\n");
    QTest::newRow("no device") << unit("KD-MX2", "No Device")
                               << QStringLiteral("UpdateSoftware: checkFirm firmVer is No Device: No Device\n");
    QTest::newRow("no version") << unit("KD-MX2", "beta")
                                << QStringLiteral("UpdateSoftware: checkFirm NowFirmwareVersion not match: beta\n");
}

void RunTest::unitWithoutOfferEndsTheRun()
{
    QFETCH(const QStringList, unit);
    QFETCH(const QString, line);
    const feedtext::Files files;
    PreviewProcess process;
    process.start(feed(files.write(feedtext::withEntry(firmwareEntry())), unit));
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.err.count(line) == 1, qPrintable(outcome.err));
    QVERIFY(outcome.err.contains(QStringLiteral("update-preview: There is nothing to show to this user.\n")));
}

void RunTest::endsWhereThereIsNothingToShow_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("no entry") << QByteArray("{}");
    QTest::newRow("no JSON") << QByteArray("<html>");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("nothing newer") << feedtext::withEntry(firmwareEntry());
}

void RunTest::endsWhereThereIsNothingToShow()
{
    QFETCH(const QByteArray, content);
    const feedtext::Files files;
    PreviewProcess process;
    process.start(feed(files.write(content)));
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.err.contains(QStringLiteral("jason dwonload ok %1\n").arg(content.size())),
             qPrintable(outcome.err));
    QVERIFY(outcome.err.contains(QStringLiteral("There is nothing to show to this user.")));
    QCOMPARE(outcome.out, QString());
}

void RunTest::addressIsFetched()
{
    const PackageServer server(success(feedtext::withEntry(quietEntry())));
    PreviewProcess process;
    process.start(feed(server.address(QStringLiteral("staging/feed.json"))));
    QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
    process.press(decline, offerTitle);
    QCOMPARE(process.finish().code, 0);
}

void RunTest::failedFetchIsReported_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("reason");
    // An empty one stands for the server.
    QTest::newRow("not there") << QString() << QStringLiteral("Not Found");
    QTest::newRow("refused") << QStringLiteral("http://127.0.0.1:1/feed.json") << QStringLiteral("Connection refused");
    QTest::newRow("misspelt") << QStringLiteral("http://[127.0.0.1/feed.json") << QStringLiteral(" not found");
}

void RunTest::failedFetchIsReported()
{
    QFETCH(const QString, address);
    QFETCH(const QString, reason);
    const PackageServer server("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
    PreviewProcess process;
    process.start(
        feed(address.isEmpty() ? server.address(QStringLiteral("feed.json")) : address, unit("KD-MX4", "1.02")));
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 2);
    QVERIFY2(outcome.err.contains(QStringLiteral("UpdateInformation: jason dwonload error\n")),
             qPrintable(outcome.err));
    const QString told = outcome.err.section(QStringLiteral("update-preview: "), 1).section(u'\n', 0, 0);
    QVERIFY2(told.startsWith(QStringLiteral("The document could not be fetched: ")), qPrintable(outcome.err));
    QVERIFY2(told.endsWith(reason + u'.'), qPrintable(outcome.err));
    QVERIFY(!outcome.err.contains(QStringLiteral("nothing to show")));
    QVERIFY(isEmpty(process.temporaryFolder()));
}

void RunTest::usersSettingsAreNeitherReadNorWritten()
{
    const feedtext::Files files;
    PreviewProcess process;
    const QString folder = process.configFolder() + QStringLiteral("/VELMAR");
    QVERIFY(QDir().mkpath(folder));
    QFile settings(folder + QStringLiteral("/KD-MXSeries.ini"));
    const QByteArray content = "[Update]\nJsonUrl=http://127.0.0.1:1/none\nSoftDialog=9.99\n";
    QVERIFY(settings.open(QIODevice::ReadWrite) && settings.write(content) == content.size() && settings.flush());

    process.start(feed(files.write(feedtext::withEntry(quietEntry()))));
    // It comes although the user does not want it.
    QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
    // "Do not show again", then "later".
    process.press({QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("space"), QStringLiteral("shift+Tab"),
                   QStringLiteral("space")},
                  offerTitle);
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.err.contains(QStringLiteral("UpdateSoftware: softCheckBox = Checked\n")), qPrintable(outcome.err));

    QVERIFY(settings.seek(0));
    QCOMPARE(settings.readAll(), content);
    QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("KD-MXSeries.ini")});
    QVERIFY(isEmpty(process.temporaryFolder()));
}

void RunTest::signalEndsTheRunCleanly()
{
    const feedtext::Files files;
    PreviewProcess process;
    process.start(feed(files.write(feedtext::withEntry(feedtext::goodEntry()))));
    QVERIFY2(process.awaitWindow(newsTitle), qPrintable(process.error()));
    QVERIFY(!isEmpty(process.temporaryFolder()));
    process.terminate();
    QCOMPARE(process.finish().code, 130);
    QVERIFY(isEmpty(process.temporaryFolder()));
}

void RunTest::signalEndsTheFetch()
{
    // It listens, but does not answer.
    const PackageServer server("");
    PreviewProcess process;
    process.start(feed(server.address(QStringLiteral("feed.json"))));
    QVERIFY2(process.awaitError(server.address(QStringLiteral("feed.json"))), qPrintable(process.error()));
    process.terminate();
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 130);
    QVERIFY2(!outcome.err.contains(QStringLiteral("update-preview: ")), qPrintable(outcome.err));
    QVERIFY(isEmpty(process.temporaryFolder()));
}

void RunTest::errorBoxEndsTheRun()
{
    const PackageServer server("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
    const feedtext::Files files;
    PreviewProcess process;
    process.start(
        feed(files.write(feedtext::withEntry(entryWithPackage(server.address(QStringLiteral("panel.exe")))))));
    QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
    process.press(accept, offerTitle);
    QVERIFY2(process.awaitError(QStringLiteral("UpdateSoftware: End of downloading")), qPrintable(process.error()));
    QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
    // The progress window, of the same title, may still be closing.
    QCOMPARE(process.pressToTheEnd({QStringLiteral("Return")}, offerTitle).code, 0);
    QVERIFY(isEmpty(process.temporaryFolder()));
}

void RunTest::cancelledDownloadEndsTheRun()
{
    const PackageServer server("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n", true);
    const feedtext::Files files;
    PreviewProcess process;
    process.start(
        feed(files.write(feedtext::withEntry(entryWithPackage(server.address(QStringLiteral("panel.exe")))))));
    QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
    process.press(accept, offerTitle);
    QVERIFY2(process.awaitError(QStringLiteral("UpdateInformation: ProgressBar 0")), qPrintable(process.error()));
    QVERIFY(process.awaitWindow(offerTitle));
    // The button takes the focus only when it is enabled, a moment after that line.
    const Outcome outcome = process.pressToTheEnd({QStringLiteral("Tab"), QStringLiteral("space")}, offerTitle);
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.err.contains(QStringLiteral("UpdateInformation: file download abort")), qPrintable(outcome.err));
    QVERIFY(isEmpty(process.temporaryFolder()));
}

void RunTest::installerIsStartedAndItsFilesStay()
{
    // A script host that unpacks an installer which leaves a mark.
    const feedtext::Files files;
    const QString mark = files.path(QStringLiteral("mark"));
    const QString host = files.write("#!/bin/sh\nprintf '#!/bin/sh\\necho done >\"" + mark.toUtf8()
                                         + "\"\\n' >setup.exe\nchmod +x setup.exe\n",
                                     QStringLiteral("cscript"));
    QVERIFY(QFile::setPermissions(host, QFile::ReadOwner | QFile::ExeOwner));
    const PackageServer server(success("PK"));

    PreviewProcess process;
    process.setVariable(QStringLiteral("PATH"), files.path(QStringLiteral(".")) + u':' + qEnvironmentVariable("PATH"));
    process.start(
        feed(files.write(feedtext::withEntry(entryWithPackage(server.address(QStringLiteral("panel.zip")))))));
    QVERIFY2(process.awaitWindow(offerTitle), qPrintable(process.error()));
    process.press(accept, offerTitle);
    QVERIFY2(process.awaitError(QStringLiteral("UpdateInformation: exec/dmg ")), qPrintable(process.error()));
    const Outcome outcome = process.pressToTheEnd(accept, offerTitle);
    QCOMPARE(outcome.code, 0);
    QTRY_VERIFY(QFile::exists(mark));

    static const QRegularExpression stay(QStringLiteral("The installer's files stay in (\\S+)\\.\n"));
    const QString folder = stay.match(outcome.err).captured(1);
    QVERIFY2(folder.startsWith(process.temporaryFolder()), qPrintable(outcome.err));
    QCOMPARE(QDir(folder)
                 .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                 .filter(QRegularExpression(QStringLiteral("update")))
                 .size(),
             1);
    QVERIFY(!QDir(folder + QStringLiteral("/../settings")).exists());
}

void RunTest::galleryCanBeDrawnOnTheDisplay()
{
    const feedtext::Files files;
    PreviewProcess process;
    process.setVariable(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    process.start({QStringLiteral("--gallery"), files.path(QStringLiteral("gallery"))});
    const Outcome outcome = process.finish();
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    QVERIFY2(outcome.out.startsWith(QStringLiteral("42 pictures: ")), qPrintable(outcome.out));
}

void RunTest::serverAnswersByTheRules_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("status");
    QTest::addColumn<bool>("hasBody");
    const QByteArray end = " HTTP/1.1\r\nHost: here\r\n\r\n";
    QTest::newRow("get") << "GET PATH" + end << QByteArray("200 OK") << true;
    QTest::newRow("head") << "HEAD PATH" + end << QByteArray("200 OK") << false;
    QTest::newRow("guessed") << "GET /feed.json" + end << QByteArray("404 Not Found") << false;
    QTest::newRow("post") << "POST PATH" + end << QByteArray("405 Method Not Allowed") << false;
    QTest::newRow("nonsense") << QByteArray("hello\r\n\r\n") << QByteArray("400 Bad Request") << false;
    QTest::newRow("endless head") << "GET PATH HTTP/1.1\r\nX: " + QByteArray(16384, 'x')
                                  << QByteArray("431 Request Header Fields Too Large") << false;
}

void RunTest::serverAnswersByTheRules()
{
    QFETCH(QByteArray, request);
    QFETCH(const QByteArray, status);
    QFETCH(const bool, hasBody);
    const QByteArray content = feedtext::withEntry(quietEntry());
    const feedtext::Files files;
    PreviewProcess process;
    process.start(feed(files.write(content)));
    const QUrl address = servedAddress(&process);
    QCOMPARE(address.host(), QStringLiteral("127.0.0.1"));
    QVERIFY(address.path().size() > 20);

    const QByteArray answer = answerTo(address, request.replace("PATH", address.path().toLatin1()));
    QVERIFY2(answer.startsWith("HTTP/1.1 " + status + "\r\n"), answer.constData());
    QVERIFY(answer.contains("\r\nConnection: close\r\n"));
    const QByteArray body = answer.mid(answer.indexOf("\r\n\r\n") + 4);
    if (hasBody)
        QCOMPARE(body, content);
    if (status.startsWith("200"))
        QVERIFY(answer.contains("\r\nContent-Length: " + QByteArray::number(content.size()) + "\r\n"));
    QVERIFY(hasBody || !body.contains("Corvo9"));
}

QTEST_GUILESS_MAIN(RunTest)
#include "run_test.moc"
