// What a download tells of its progress.

#include "downloadfixture.h"
#include "updateinformationprobe.h"

#include <QTest>
#include <QTimer>

#include <algorithm>
#include <climits>

class UpdateInformationDownloadProgressTest : public DownloadFixture
{
    Q_OBJECT

private Q_SLOTS:
    void progressOfAKnownSizeGrowsTo100();
    void percentages_data();
    void percentages();
    void lateProgressIsIgnored();
};

void UpdateInformationDownloadProgressTest::progressOfAKnownSizeGrowsTo100()
{
    InformationThread information;
    QVERIFY(fetched(information));
    constexpr int pieces = 40;
    information.download(
        m_server.address(QStringLiteral("/stepped?size=40&pieces=%1&name=%2&as=a.exe").arg(pieces).arg(first())));
    // Some of it is reported before the rest comes.
    QVERIFY(stepUntil([&] { return !percentagesIn(information.transcript()).isEmpty(); }));
    for (int i = 0; i < pieces; ++i)
        m_server.step(first());
    QVERIFY(information.waitFor(readied));
    const QStringList transcript = information.transcript();
    const QList<int> percent = percentagesIn(transcript);
    QVERIFY(percent.size() > 1);
    QVERIFY(percent.constFirst() >= 0);
    QVERIFY(std::is_sorted(percent.begin(), percent.end()));
    QCOMPARE(percent.constLast(), 100);
    for (const int value : percent)
        QVERIFY(transcript.contains(QStringLiteral("UpdateInformation: ProgressBar %1").arg(value)));
}

void UpdateInformationDownloadProgressTest::percentages_data()
{
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<QList<int>>("percent");
    const QList<int> ignored;
    QTest::newRow("nothing") << Q_INT64_C(0) << Q_INT64_C(100) << QList{0};
    QTest::newRow("a third") << Q_INT64_C(1) << Q_INT64_C(3) << QList{33};
    QTest::newRow("nearly all") << Q_INT64_C(999) << Q_INT64_C(1000) << QList{99};
    QTest::newRow("all") << Q_INT64_C(3) << Q_INT64_C(3) << QList{100};
    QTest::newRow("more than all") << Q_INT64_C(6) << Q_INT64_C(3) << QList{200};
    QTest::newRow("no total") << Q_INT64_C(0) << Q_INT64_C(0) << ignored;
    QTest::newRow("no total, some bytes") << Q_INT64_C(7) << Q_INT64_C(0) << ignored;
    QTest::newRow("unknown total") << Q_INT64_C(7) << Q_INT64_C(-1) << QList{-700};
    QTest::newRow("unknown total, nothing yet") << Q_INT64_C(0) << Q_INT64_C(-1) << QList{0};
    QTest::newRow("unknown total, the least number") << Q_INT64_C(21'474'836) << Q_INT64_C(-1) << QList{-2'147'483'600};
    QTest::newRow("unknown total, a number too small") << Q_INT64_C(21'474'837) << Q_INT64_C(-1) << QList{INT_MIN};
    QTest::newRow("unknown total, 2 GiB") << defaultLargestPackage << Q_INT64_C(-1) << QList{INT_MIN};
    QTest::newRow("2 GiB") << defaultLargestPackage << defaultLargestPackage << QList{100};
    QTest::newRow("2 GiB of one byte") << defaultLargestPackage << Q_INT64_C(1) << QList{INT_MAX};
}

void UpdateInformationDownloadProgressTest::percentages()
{
    QFETCH(qint64, received);
    QFETCH(qint64, total);
    QFETCH(QList<int>, percent);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/silent/before?as=a.exe")));
    QVERIFY(information.waitFor(started));
    information.in([=](UpdateInformation &object) { object.replyDownloadProgress(received, total); });
    QCOMPARE(percentagesIn(information.transcript()), percent);
    QVERIFY(
        information.in([](UpdateInformation &object) { return UpdateInformationProbe::timer(object)->isActive(); }));
}

void UpdateInformationDownloadProgressTest::lateProgressIsIgnored()
{
    InformationThread information;
    information.in([](UpdateInformation &object) { object.replyDownloadProgress(1, 2); });
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/body?as=a.exe")));
    QVERIFY(information.waitFor(readied));
    information.forget();
    information.in([](UpdateInformation &object) { object.replyDownloadProgress(1, 2); });
    QCOMPARE(information.transcript(), QStringList());
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadProgressTest)
#include "updateinformation_download_progress_test.moc"
