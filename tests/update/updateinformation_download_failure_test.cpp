// A package that does not come: one error, and nothing on the disk.

#include "downloadfixture.h"
#include "environment.h"
#include "sanitizers.h"
#include "scripthost.h"
#include "systemnetwork.h"

#include <QTest>

class UpdateInformationDownloadFailureTest : public DownloadFixture
{
    Q_OBJECT

private Q_SLOTS:
    void failures_data();
    void failures();
    void failuresOfCertificates_data();
    void failuresOfCertificates();
    void anEmptyBodyIsAnError();
    void aChunkedBodyCutShortHasOneOutcome();
    void neverFollowsFromHttpsToHttp();
    void withoutAScriptHostAnArchiveIsAnError();
    void withoutAFetchThereIsNoDownload();
};

void UpdateInformationDownloadFailureTest::failures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("error"); // %1 stands for the address
    const QString status = QStringLiteral("Error transferring %1 - server replied: As told");
    QTest::newRow("404") << "/status/404" << status;
    QTest::newRow("500") << "/status/500" << status;
    QTest::newRow("redirect loop") << "/loop"
                                   << "Too many redirects";
    QTest::newRow("redirect to a file") << "/redirect?to=file:///etc/hostname"
                                        << "Unknown protocol specified";
    for (const char *const path : {"/reset/before", "/reset/in-header", "/reset/after-header", "/reset/in-body",
                                   "/close/before", "/close/in-header", "/close/in-body", "/length/too-long"})
        QTest::newRow(path) << path << "Connection closed";
}

void UpdateInformationDownloadFailureTest::failures()
{
    QFETCH(QString, path);
    QFETCH(QString, error);
    if (path.startsWith(QStringLiteral("/reset/")) && environment::isWine())
        QSKIP("Wine tells nobody of a connection that was reset");
    for (const QString &port : {QStringLiteral("http"), QStringLiteral("https")}) {
        const QString mark = path.contains(u'?') ? QStringLiteral("&") : QStringLiteral("?");
        const QString address = m_server.address(path + mark + QStringLiteral("as=a.exe"), port);
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(information.waitFor(failed));
        QCOMPARE(information.story(), failing(address, QString(error).replace(QStringLiteral("%1"), address)));
        QCOMPARE(information.files(), QStringList());
    }
}

void UpdateInformationDownloadFailureTest::failuresOfCertificates_data()
{
    QTest::addColumn<QString>("error");
    QTest::newRow("refused") << "Connection refused";
    for (const systemnetwork::CertificateFailure &failure : systemnetwork::certificateFailures())
        QTest::newRow(failure.port) << failure.error;
}

void UpdateInformationDownloadFailureTest::failuresOfCertificates()
{
    QFETCH(QString, error);
    const QString port = QString::fromUtf8(QTest::currentDataTag());
    const QString address = m_server.address(QStringLiteral("/body?as=a.exe"), port);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(failed));
    QCOMPARE(information.story(), failing(address, error));
    QCOMPARE(m_server.targets(), QStringList()); // it has not even asked
}

void UpdateInformationDownloadFailureTest::anEmptyBodyIsAnError()
{
    const QString address = m_server.address(QStringLiteral("/empty?as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(failed));
    // Not even progress: there is nothing to make progress with.
    QCOMPARE(information.transcript(),
             beginning(address)
                 + (QStringList{finished, QStringLiteral("UpdateInformation: file download size zero"), failed}));
    QCOMPARE(information.files(), QStringList());
}

/// Qt may or may not notice that the last chunk is missing.
void UpdateInformationDownloadFailureTest::aChunkedBodyCutShortHasOneOutcome()
{
    for (const QString &path : {QStringLiteral("/close/in-body-chunked"), QStringLiteral("/chunked/broken")}) {
        const QString address = m_server.address(path + QStringLiteral("?as=a.exe"));
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(QTest::qWaitFor([&] { return information.outcome().size() == 3; }, defaultSilenceLimit));
        information.end();
        const QStringList story = information.story();
        QVERIFY2(story == succeeding(address, 1000) || story == failing(address, QStringLiteral("Connection closed")),
                 qPrintable(story.join(u'\n')));
    }
}

void UpdateInformationDownloadFailureTest::neverFollowsFromHttpsToHttp()
{
    const QString target = m_server.address(QStringLiteral("/body"));
    const QString path = QStringLiteral("/redirect?to=%1&as=a.exe").arg(target);
    const QString address = m_server.address(path, QStringLiteral("https"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(failed));
    QCOMPARE(information.story(), failing(address, QStringLiteral("Insecure redirect")));
    QCOMPARE(m_server.targets(), QStringList{path});
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadFailureTest::withoutAScriptHostAnArchiveIsAnError()
{
    if (underThreadSanitizer)
        QSKIP("the object's thread starts a process");
    ScriptHost host;
    host.useNone();
    const QString address = m_server.address(QStringLiteral("/body?as=a.zip"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(failed));
    QCOMPARE(information.story(),
             beginning(address, false)
                 + (QStringList{finished, QStringLiteral("UpdateInformation: tempDir TEMP"),
                                QStringLiteral("UpdateInformation: read size 1000"),
                                QStringLiteral("UpdateInformation: script host not started"), failed}));
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadFailureTest::withoutAFetchThereIsNoDownload()
{
    InformationThread information;
    information.download(m_server.address(QStringLiteral("/body?as=a.exe")));
    QVERIFY(information.waitFor(failed));
    QCOMPARE(information.outcome(), QStringList{QStringLiteral("errorDownloadFile")});
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadFailureTest)
#include "updateinformation_download_failure_test.moc"
