// Packages of any size, and the largest that is taken.

#include "downloadfixture.h"
#include "updateinformationprobe.h"

#include <QFile>
#include <QTest>

namespace {

constexpr qint64 oneGiB = 1'073'741'824;

const QString tooLarge = QStringLiteral("UpdateInformation: package too large");
const QStringList oneError{QStringLiteral("startedDownloadFile"), QStringLiteral("finishedDownloadFile"),
                           QStringLiteral("errorDownloadFile")};

} // namespace

class UpdateInformationDownloadSizeTest : public DownloadFixture
{
    Q_OBJECT

private Q_SLOTS:
    void largestPackage_data();
    void largestPackage();
    void moreThan2GiBIsRefusedAtOnce();
    void anEndlessPackageEnds_data();
    void anEndlessPackageEnds();
    void aPackageWithFalseGzipEnds_data();
    void aPackageWithFalseGzipEnds();
    void aPackageOf1GiBComesWhole();

private:
    /// The story of a package that is called off, for it is too large.
    static QStringList refusing(const QString &address);
};

QStringList UpdateInformationDownloadSizeTest::refusing(const QString &address)
{
    return beginning(address)
        + QStringList{tooLarge, cancelling, finished, errorFollows, cancelled, failed, aborting, cancelled};
}

void UpdateInformationDownloadSizeTest::largestPackage_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("saved");
    for (const char *const path : {"/body", "/chunked", "/unsized"}) {
        QTest::addRow("just as large, %s", path) << QStringLiteral("%1?size=2000000").arg(QLatin1String(path)) << true;
        QTest::addRow("too large, %s", path) << QStringLiteral("%1?size=2000001").arg(QLatin1String(path)) << false;
    }
}

void UpdateInformationDownloadSizeTest::largestPackage()
{
    QFETCH(QString, path);
    QFETCH(bool, saved);
    UpdateInformationProbe::setLargestPackage(2'000'000);
    const QString address = m_server.address(path + QStringLiteral("&as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(saved ? readied : failed));
    information.end();
    if (saved) {
        QCOMPARE(information.story(), succeeding(address, 2'000'000));
        return;
    }
    QCOMPARE(information.outcome(), oneError);
    QCOMPARE(information.story().count(tooLarge), 1);
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadSizeTest::moreThan2GiBIsRefusedAtOnce()
{
    const QString address =
        m_server.address(QStringLiteral("/stepped?size=2147483649&pieces=100000&name=%1&as=a.exe").arg(first()));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(stepUntil([&] { return information.transcript().contains(failed); }));
    information.end();
    const QStringList transcript = information.transcript();
    QCOMPARE(transcript.count(tooLarge), 1);
    QVERIFY(percentagesIn(transcript).constFirst() < 50);
    QCOMPARE(information.story(), refusing(address));
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadSizeTest::anEndlessPackageEnds_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("from the server") << "/endless?as=a.exe";
    QTest::newRow("redirected") << "/redirect?to=/endless&as=a.exe";
}

void UpdateInformationDownloadSizeTest::anEndlessPackageEnds()
{
    QFETCH(QString, path);
    UpdateInformationProbe::setLargestPackage(5'000'000);
    const QString address = m_server.address(path);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(aborting));
    information.end();
    QCOMPARE(information.story(), refusing(address));
    QCOMPARE(information.files(), QStringList());
}

/// Qt reports at once that it cannot unpack, and goes on for as long as the server does.
void UpdateInformationDownloadSizeTest::aPackageWithFalseGzipEnds_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("then silence") << "/false-gzip?as=a.exe";
    QTest::newRow("without an end") << "/false-gzip?endless=1&as=a.exe";
}

void UpdateInformationDownloadSizeTest::aPackageWithFalseGzipEnds()
{
    QFETCH(QString, path);
    UpdateInformationProbe::setLargestPackage(5'000'000);
    UpdateInformationProbe::setSilenceLimit(1000);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(path));
    QVERIFY(information.waitFor(failed));
    information.end();
    QCOMPARE(information.outcome(), oneError);
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadSizeTest::aPackageOf1GiBComesWhole()
{
    const QString address = m_server.address(QStringLiteral("/body?size=%1&as=a.exe").arg(oneGiB));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(QTest::qWaitFor([&] { return information.transcript().contains(readied); }, 2 * defaultSilenceLimit));
    QCOMPARE(information.story(), succeeding(address, oneGiB));
    QCOMPARE(information.files().size(), 1);
    QFile file(information.files().constFirst());
    QCOMPARE(file.size(), oneGiB);
    // A lost or doubled piece anywhere would move the end.
    QVERIFY(file.open(QIODevice::ReadOnly) && file.seek(oneGiB - 1000));
    QVERIFY(file.readAll() == UpdateServer::body(251 + 1000).mid((oneGiB - 1000) % 251, 1000));
    QVERIFY(file.remove());
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadSizeTest)
#include "updateinformation_download_size_test.moc"
