// A package that comes: whole, as the server sends it, and asked for plainly.

#include "downloadfixture.h"
#include "filecontent.h"
#include "updateinformationprobe.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QTest>

class UpdateInformationDownloadTest : public DownloadFixture
{
    Q_OBJECT

private Q_SLOTS:
    void savesWhatComes_data();
    void savesWhatComes();
    void savesOverTls();
    void followsFromHttpToHttps();
    void asksPlainly();
    void aPackageBeforeTheDocument();
};

void UpdateInformationDownloadTest::savesWhatComes_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("size");
    QTest::newRow("one byte") << "/body?size=1&as=a.exe" << 1;
    QTest::newRow("suffix in capitals") << "/body?size=10&as=A.EXE" << 10;
    QTest::newRow("suffix without a dot") << "/body?size=10&as=exe" << 10;
    QTest::newRow("many whole pieces on disk") << "/body?size=1048576&as=a.exe" << 1'048'576;
    QTest::newRow("a byte more") << "/body?size=1048577&as=a.exe" << 1'048'577;
    QTest::newRow("50 MB") << "/body?size=50000000&as=a.exe" << 50'000'000;
    QTest::newRow("chunked") << "/chunked?size=3000000&as=a.exe" << 3'000'000;
    QTest::newRow("no length") << "/unsized?size=3000000&as=a.exe" << 3'000'000;
    QTest::newRow("drop by drop") << "/drip?size=100&piece=9&pause=5&as=a.exe" << 100;
    QTest::newRow("more than told") << "/length/too-short?as=a.exe" << 1000;
    QTest::newRow("cut short without a length") << "/close/in-body-unsized?as=a.exe" << 1000;
    QTest::newRow("redirected") << "/redirect?to=/body&as=a.exe" << 1000;
}

void UpdateInformationDownloadTest::savesWhatComes()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    const QString address = m_server.address(path);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, size));
    QCOMPARE(information.files().size(), 1);
    QCOMPARE(QFileInfo(information.files().constFirst()).fileName(), QStringLiteral("temp.exe"));
    QVERIFY(contentOf(information.files().constFirst()) == UpdateServer::body(size));
    QCOMPARE(QDir::currentPath(), QFileInfo(information.files().constFirst()).absolutePath());
    QVERIFY(information.in([](UpdateInformation &object) {
        return UpdateInformationProbe::timer(object) == nullptr && UpdateInformationProbe::reply(object) == nullptr
            && UpdateInformationProbe::tempDir(object) == nullptr;
    }));
}

void UpdateInformationDownloadTest::savesOverTls()
{
    // Windows' TLS in Qt 6.4 may lose the end of a large body if the server closes after it.
    const QString address =
        m_server.address(QStringLiteral("/body?size=3000000&stays=1&as=a.exe"), QStringLiteral("https"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, 3'000'000));
    QVERIFY(contentOf(information.files().constFirst()) == UpdateServer::body(3'000'000));
}

void UpdateInformationDownloadTest::followsFromHttpToHttps()
{
    const QString target = m_server.address(QStringLiteral("/body"), QStringLiteral("https"));
    const QString address = m_server.address(QStringLiteral("/redirect?to=%1&as=a.exe").arg(target));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, 1000));
}

void UpdateInformationDownloadTest::asksPlainly()
{
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/body?as=a.exe")));
    QVERIFY(information.waitFor(readied));
    const QJsonArray requests = m_server.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests[0][QStringLiteral("method")].toString(), QStringLiteral("GET"));
    QCOMPARE(requests[0][QStringLiteral("target")].toString(), QStringLiteral("/body?as=a.exe"));
    QStringList names;
    for (const auto &field : requests[0][QStringLiteral("fields")].toArray())
        names.append(field[0].toString());
    names.sort();
    QCOMPARE(names.join(u' '), QStringLiteral("Accept-Encoding Accept-Language Connection Host User-Agent"));
}

/// The document is on its way yet, and comes later than the package.
void UpdateInformationDownloadTest::aPackageBeforeTheDocument()
{
    const QString address = m_server.address(QStringLiteral("/body?as=a.exe"));
    InformationThread information;
    information.fetch(m_server.address(QStringLiteral("/silent/before")));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    information.end();
    QCOMPARE(information.story().mid(2), succeeding(address, 1000));
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadTest)
#include "updateinformation_download_test.moc"
