#include "environment.h"
#include "informationthread.h"
#include "storedsettings.h"
#include "systemnetwork.h"
#include "updateinformationprobe.h"
#include "updateserver.h"

#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSet>
#include <QTest>

namespace {

const QString start = QStringLiteral("UpdateInformation: start download json");
const QStringList ports{QStringLiteral("http"), QStringLiteral("https")};
const QString end = QStringLiteral("UpdateInformation: end of replyFinished");

QString encoded(const QString &text)
{
    return QString::fromUtf8(QUrl::toPercentEncoding(text));
}

/// The transcript of a fetch that brings a text of a number of bytes.
QStringList bringing(const QString &address, qsizetype bytes, const QString &text)
{
    return {start,
            QStringLiteral("UpdateInformation: ") + address,
            QStringLiteral("UpdateInformation: jason dwonload ok ") + QString::number(bytes),
            text,
            QStringLiteral("-> finishedInformation ") + text,
            end};
}

QStringList failing(const QString &address, const QString &error)
{
    return {start, QStringLiteral("UpdateInformation: ") + address,
            QStringLiteral("UpdateInformation: jason dwonload error"), error, end};
}

void say_nothing(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

class UpdateInformationFetchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_server.forgetRequests(); }

    void bringsWhateverTheServerSends_data();
    void bringsWhateverTheServerSends();
    void bringsEveryLetter();
    void unpacksGzip();
    void aFeedOf64MiBComesWhole();
    void aFeedWithoutAnEndFails();
    void aFeedThatIsTooLargeFails_data();
    void aFeedThatIsTooLargeFails();
    void failures_data();
    void failures();
    void failuresOfCertificates_data();
    void failuresOfCertificates();
    void aChunkedBodyCutShortEndsTheFetch();
    void followsRedirects_data();
    void followsRedirects();
    void neverFollowsFromHttpsToHttp();
    void asksPlainly();
    void usesTheStoredAddressVerbatim_data();
    void usesTheStoredAddressVerbatim();
    void withoutAnAddressAsksTheMaker_data();
    void withoutAnAddressAsksTheMaker();
    void fetchesOnce();
    void keepsTheReply();
    void endsCleanlyAtAnyPoint_data();
    void endsCleanlyAtAnyPoint();

private:
    QTemporaryDir m_settings;
    UpdateServer m_server;
};

void UpdateInformationFetchTest::initTestCase()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_settings.path()));
    QVERIFY(m_server.isRunning());
}

// ---- What comes -----------------------------------------------------------------------------------------------------

void UpdateInformationFetchTest::bringsWhateverTheServerSends_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QString>("text");
    const QString replacement(QChar::ReplacementCharacter);

    QTest::newRow("not JSON") << "/document/not-json" << 20 << "This is no document.";
    QTest::newRow("HTML") << "/document/html" << 56 << "<!DOCTYPE html>\n<html><body>Log in first.</body></html>\n";
    QTest::newRow("deeply nested") << "/document/nested?depth=3" << 6 << "[[[]]]";
    // Windows' TLS in Qt 6.4 may lose the end of a large body if the server closes after it.
    QTest::newRow("very deeply nested") << "/document/nested?depth=100000&stays=1" << 200'000
                                        << QString(100'000, u'[') + QString(100'000, u']');
    QTest::newRow("invalid UTF-8") << "/document/invalid-utf8" << 27
                                   << QStringLiteral("{\"Corvo9_version1\": \"%1( %1\"}").arg(replacement);
    QTest::newRow("empty") << "/empty" << 0 << "";
    for (const QString &kind : {QStringLiteral("good"), QStringLiteral("wrong-types"), QStringLiteral("other-key"),
                                QStringLiteral("array")}) {
        const QString path = QStringLiteral("/document/") + kind;
        const QByteArray content = m_server.content(path);
        QTest::newRow(qPrintable(kind)) << path << static_cast<int>(content.size()) << QString::fromUtf8(content);
    }
    const QString pattern = QString::fromUtf8(UpdateServer::body(100));
    QTest::newRow("chunked") << "/chunked?size=100" << 100 << pattern;
    QTest::newRow("no length") << "/unsized?size=100" << 100 << pattern;
    QTest::newRow("drop by drop") << "/drip?size=100&piece=7&pause=1" << 100 << pattern;
    QTest::newRow("longer than told") << "/length/too-short" << 1000 << QString::fromUtf8(UpdateServer::body(1000));
}

void UpdateInformationFetchTest::bringsWhateverTheServerSends()
{
    QFETCH(QString, path);
    QFETCH(int, bytes);
    QFETCH(QString, text);
    for (const QString &port : ports) {
        const QString address = m_server.address(path, port);
        InformationThread information;
        information.fetch(address);
        QVERIFY(information.waitFor(end));
        QCOMPARE(information.transcript(), bringing(address, bytes, text));
    }
}

void UpdateInformationFetchTest::bringsEveryLetter()
{
    const QString text = QStringLiteral("{\"a\": \"äß 日本語 中文 \U0001F3A7 \u0000 end\"}\r\n\t ");
    m_server.addFile(QStringLiteral("letters.json"), text.toUtf8());
    m_server.addFile(QStringLiteral("marked.json"), "\xEF\xBB\xBF" + text.toUtf8());
    for (const QString &name : {QStringLiteral("letters.json"), QStringLiteral("marked.json")}) {
        const QString address = m_server.address(QStringLiteral("/files/") + name);
        const qsizetype mark = name == QStringLiteral("marked.json") ? 3 : 0;
        InformationThread information;
        information.fetch(address);
        QVERIFY(information.waitFor(end));
        QCOMPARE(information.transcript(), bringing(address, text.toUtf8().size() + mark, text));
    }
}

void UpdateInformationFetchTest::unpacksGzip()
{
    const QByteArray plain = m_server.content(QStringLiteral("/document/good"));
    const QString address = m_server.address(QStringLiteral("/document/gzip"));
    InformationThread information;
    information.fetch(address);
    QVERIFY(information.waitFor(end));
    QCOMPARE(information.transcript(), bringing(address, plain.size(), QString::fromUtf8(plain)));
}

void UpdateInformationFetchTest::aFeedOf64MiBComesWhole()
{
    constexpr qsizetype size = 67'108'864;
    // The document is logged, and nobody wants that on the screen.
    const QtMessageHandler former = qInstallMessageHandler(say_nothing);
    const auto restore = qScopeGuard([=] { qInstallMessageHandler(former); });
    const QString path = QStringLiteral("/document/large?size=%1").arg(size);
    InformationThread information;
    information.fetch(m_server.address(path + QStringLiteral("&stays=1")));
    QVERIFY(information.waitFor(end));
    const QStringList transcript = information.transcript();
    QCOMPARE(transcript.size(), 6);
    QCOMPARE(transcript[2], QStringLiteral("UpdateInformation: jason dwonload ok %1").arg(size));
    const QString text = QString::fromUtf8(m_server.content(path));
    QVERIFY(transcript[3] == text);
    QVERIFY(transcript[4] == QStringLiteral("-> finishedInformation ") + text);
}

// ---- What does not come ---------------------------------------------------------------------------------------------

void UpdateInformationFetchTest::aFeedWithoutAnEndFails()
{
    constexpr qint64 told = 104'857'600;
    QCOMPARE(UpdateInformationProbe::largestDocument(), told);
    UpdateInformationProbe::setLargestDocument(1'000'000);
    const QString address = m_server.address(QStringLiteral("/endless"));
    InformationThread information;
    information.fetch(address);
    const bool ended = information.waitFor(end);
    UpdateInformationProbe::setLargestDocument(told);
    QVERIFY(ended);
    QCOMPARE(information.transcript(), failing(address, QStringLiteral("Operation canceled")));
}

void UpdateInformationFetchTest::aFeedThatIsTooLargeFails_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("of a told length") << "/body?size=2000000";
    QTest::newRow("in chunks") << "/chunked?size=2000000";
    QTest::newRow("until the end") << "/unsized?size=2000000";
    // Qt reports at once that it cannot unpack, and goes on for as long as the server does.
    QTest::newRow("no gzip, without an end") << "/false-gzip?endless=1";
}

void UpdateInformationFetchTest::aFeedThatIsTooLargeFails()
{
    QFETCH(QString, path);
    const qint64 told = UpdateInformationProbe::largestDocument();
    UpdateInformationProbe::setLargestDocument(1'000'000);
    InformationThread information;
    information.fetch(m_server.address(path));
    const bool ended = information.waitFor(end);
    UpdateInformationProbe::setLargestDocument(told);
    QVERIFY(ended);
    const QStringList transcript = information.transcript();
    QCOMPARE(transcript.size(), 5);
    QCOMPARE(transcript[2], QStringLiteral("UpdateInformation: jason dwonload error"));
}

void UpdateInformationFetchTest::failures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("error"); // %1 stands for the address
    const QString status = QStringLiteral("Error transferring %1 - server replied: As told");
    const QString closed = QStringLiteral("Connection closed");
    QTest::newRow("404") << "/status/404" << status;
    QTest::newRow("500") << "/status/500" << status;
    QTest::newRow("no such file") << "/files/none" << status;
    QTest::newRow("redirect loop") << "/loop"
                                   << "Too many redirects";
    QTest::newRow("redirect to a file") << "/redirect?to=file:///etc/hostname"
                                        << "Unknown protocol specified";
    QTest::newRow("redirect to FTP") << "/redirect?to=ftp://127.0.0.1/x"
                                     << "Unknown protocol specified";
    for (const QString &path :
         {QStringLiteral("/reset/before"), QStringLiteral("/reset/in-header"), QStringLiteral("/reset/after-header"),
          QStringLiteral("/reset/in-body"), QStringLiteral("/close/before"), QStringLiteral("/close/in-header"),
          QStringLiteral("/close/in-body"), QStringLiteral("/length/too-long")})
        QTest::newRow(qPrintable(path)) << path << closed;
}

void UpdateInformationFetchTest::failures()
{
    QFETCH(QString, path);
    QFETCH(QString, error);
    if (path.startsWith(QStringLiteral("/reset/")) && environment::isWine())
        QSKIP("Wine tells nobody of a connection that was reset");
    for (const QString &port : ports) {
        const QString address = m_server.address(path, port);
        InformationThread information;
        information.fetch(address);
        QVERIFY(information.waitFor(end));
        QCOMPARE(information.transcript(), failing(address, QString(error).replace(QStringLiteral("%1"), address)));
    }
}

void UpdateInformationFetchTest::failuresOfCertificates_data()
{
    QTest::addColumn<QString>("error");
    QTest::newRow("refused") << "Connection refused";
    for (const systemnetwork::CertificateFailure &failure : systemnetwork::certificateFailures())
        QTest::newRow(failure.port) << failure.error;
}

void UpdateInformationFetchTest::failuresOfCertificates()
{
    QFETCH(QString, error);
    const QString address =
        m_server.address(QStringLiteral("/document/good"), QString::fromUtf8(QTest::currentDataTag()));
    InformationThread information;
    information.fetch(address);
    QVERIFY(information.waitFor(end));
    QCOMPARE(information.transcript(), failing(address, error));
    QCOMPARE(m_server.targets(), QStringList()); // it has not even asked
}

/// Qt may or may not notice that the last chunk is missing; either way the fetch ends.
void UpdateInformationFetchTest::aChunkedBodyCutShortEndsTheFetch()
{
    for (const QString &path : {QStringLiteral("/close/in-body-chunked"), QStringLiteral("/chunked/broken")}) {
        const QString address = m_server.address(path);
        InformationThread information;
        information.fetch(address);
        QVERIFY(information.waitFor(end));
        const QStringList cut = bringing(address, 1000, QString::fromUtf8(UpdateServer::body(1000)));
        const QStringList noticed = failing(address, QStringLiteral("Connection closed"));
        const QStringList transcript = information.transcript();
        QVERIFY2(transcript == cut || transcript == noticed, qPrintable(transcript.join(u'\n')));
    }
}

// ---- Where it comes from --------------------------------------------------------------------------------------------

void UpdateInformationFetchTest::followsRedirects_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::newRow("http to a path") << "http"
                                    << "";
    QTest::newRow("https to a path") << "https"
                                     << "";
    QTest::newRow("http to http") << "http"
                                  << "http";
    QTest::newRow("http to https") << "http"
                                   << "https";
    QTest::newRow("https to https") << "https"
                                    << "https";
}

void UpdateInformationFetchTest::followsRedirects()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    const QString path = QStringLiteral("/document/not-json");
    const QString target = to.isEmpty() ? path : m_server.address(path, to);
    const QString address = m_server.address(QStringLiteral("/redirect?to=") + encoded(target), from);
    InformationThread information;
    information.fetch(address);
    QVERIFY(information.waitFor(end));
    QCOMPARE(information.transcript(), bringing(address, 20, QStringLiteral("This is no document.")));
}

void UpdateInformationFetchTest::neverFollowsFromHttpsToHttp()
{
    const QString target = m_server.address(QStringLiteral("/document/good"));
    const QString path = QStringLiteral("/redirect?to=") + encoded(target);
    const QString address = m_server.address(path, QStringLiteral("https"));
    InformationThread information;
    information.fetch(address);
    QVERIFY(information.waitFor(end));
    QCOMPARE(information.transcript(), failing(address, QStringLiteral("Insecure redirect")));
    QCOMPARE(m_server.targets(), QStringList{path});
}

/// One GET with the header fields that Qt writes on its own, and no others.
void UpdateInformationFetchTest::asksPlainly()
{
    InformationThread information;
    information.fetch(m_server.address(QStringLiteral("/document/good?as=asked&x=%20y")));
    QVERIFY(information.waitFor(end));
    const QJsonArray requests = m_server.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests[0][QStringLiteral("method")].toString(), QStringLiteral("GET"));
    QCOMPARE(requests[0][QStringLiteral("target")].toString(), QStringLiteral("/document/good?as=asked&x=%20y"));
    QStringList names;
    for (const auto &field : requests[0][QStringLiteral("fields")].toArray())
        names.append(field[0].toString());
    names.sort();
    QCOMPARE(names.join(u' '), QStringLiteral("Accept-Encoding Accept-Language Connection Host User-Agent"));
}

void UpdateInformationFetchTest::usesTheStoredAddressVerbatim_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("error");
    const QString unknown = QStringLiteral("Protocol \"%1\" is unknown");
    QTest::newRow("a blank") << " " << unknown.arg(QString());
    QTest::newRow("no address") << "not an address" << unknown.arg(QString());
    QTest::newRow("another protocol") << "gopher://127.0.0.1/x" << unknown.arg(QStringLiteral("gopher"));
}

void UpdateInformationFetchTest::usesTheStoredAddressVerbatim()
{
    QFETCH(QString, address);
    QFETCH(QString, error);
    InformationThread information;
    information.fetch(address);
    QVERIFY(information.waitFor(end));
    QCOMPARE(information.transcript(), failing(address, error));
}

void UpdateInformationFetchTest::withoutAnAddressAsksTheMaker_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::newRow("empty") << QByteArray("[Update]\nJsonUrl=\n");
    QTest::newRow("empty text") << QByteArray("[Update]\nJsonUrl=\"\"\n");
    QTest::newRow("no value") << QByteArray("[Update]\nSoftDialog=1.0\n");
    QTest::newRow("another group") << QByteArray("[PopupMessage]\nJsonUrl=\"http://127.0.0.1/x\"\n");
    QTest::newRow("no settings") << QByteArray();
}

/// The server is the proxy here, so that nothing leaves the machine.
void UpdateInformationFetchTest::withoutAnAddressAsksTheMaker()
{
    QFETCH(QByteArray, settings);
    stored::clear();
    if (!settings.isEmpty())
        stored::write(stored::panelFile(), settings);
    const QString localhost = QStringLiteral("127.0.0.1");
    QNetworkProxy::setApplicationProxy({QNetworkProxy::HttpProxy, localhost, m_server.port(QStringLiteral("http"))});
    const auto restore = qScopeGuard([] { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); });

    InformationThread information;
    information.in([](UpdateInformation &object) { object.downloadInformation(); });
    QVERIFY(information.waitFor(end));
    const QStringList transcript = information.transcript();
    QCOMPARE(transcript.size(), 5);
    const QString maker = QStringLiteral("https://www.velmar.example/download/fw/corvo9/Corvo9_UpdateInformation.json");
    QCOMPARE(transcript, failing(maker, transcript[3]));
    const QJsonArray requests = m_server.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests[0][QStringLiteral("method")].toString(), QStringLiteral("CONNECT"));
    QCOMPARE(requests[0][QStringLiteral("target")].toString(), QStringLiteral("www.velmar.example:443"));
}

// ---- The object -----------------------------------------------------------------------------------------------------

void UpdateInformationFetchTest::fetchesOnce()
{
    const QString address = m_server.address(QStringLiteral("/document/not-json"));
    InformationThread information;
    information.fetch(address);
    information.fetch(address);
    QVERIFY(information.waitFor(end));
    information.fetch(address);
    QCOMPARE(information.transcript(), bringing(address, 20, QStringLiteral("This is no document.")));
    QCOMPARE(m_server.targets().size(), 1);
}

void UpdateInformationFetchTest::keepsTheReply()
{
    InformationThread information;
    information.fetch(m_server.address(QStringLiteral("/document/good")));
    QVERIFY(information.waitFor(end));
    const auto replies = [](UpdateInformation &object) {
        return UpdateInformationProbe::manager(object)->findChildren<QNetworkReply *>().size();
    };
    information.in([](UpdateInformation &) { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); });
    QCOMPARE(information.in(replies), 1);
}

void UpdateInformationFetchTest::endsCleanlyAtAnyPoint_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("destroy");
    for (const QString &path : {QStringLiteral("/silent/before"), QStringLiteral("/silent/after-header"),
                                QStringLiteral("/silent/in-body"), QStringLiteral("/endless")}) {
        QTest::addRow("shut down, %s", qPrintable(path)) << path << false;
        QTest::addRow("destroyed, %s", qPrintable(path)) << path << true;
    }
}

void UpdateInformationFetchTest::endsCleanlyAtAnyPoint()
{
    QFETCH(QString, path);
    QFETCH(bool, destroy);
    // It must end before the limit is reached, however late this thread comes to it.
    const qint64 told = UpdateInformationProbe::largestDocument();
    UpdateInformationProbe::setLargestDocument(20 * told);
    const auto back = qScopeGuard([told] { UpdateInformationProbe::setLargestDocument(told); });
    const QString address = m_server.address(path);
    InformationThread information;
    information.fetch(address);
    QTRY_COMPARE(m_server.targets(), QStringList{path});
    if (destroy)
        information.destroyInThread();
    else
        information.end();
    QCOMPARE(information.transcript(), (QStringList{start, QStringLiteral("UpdateInformation: ") + address}));
}

QTEST_GUILESS_MAIN(UpdateInformationFetchTest)
#include "updateinformation_fetch_test.moc"
