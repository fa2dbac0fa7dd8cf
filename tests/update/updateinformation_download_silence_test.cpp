// A server that falls silent, and the timer that watches over it.

#include "downloadfixture.h"
#include "updateinformationprobe.h"

#include <QTest>
#include <QThread>
#include <QTimer>

class UpdateInformationDownloadSilenceTest : public DownloadFixture
{
    Q_OBJECT

private Q_SLOTS:
    void timerIsOneShotOf60Seconds();
    void progressStartsTheTimerAfresh();
    void progressAtTheLastMomentIsInTime();
    void aSlowDownloadIsNoSilence();
    void silenceIsAnError_data();
    void silenceIsAnError();
};

void UpdateInformationDownloadSilenceTest::timerIsOneShotOf60Seconds()
{
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/silent/before?as=a.exe")));
    QVERIFY(information.waitFor(started));
    information.in([&](UpdateInformation &object) {
        const QTimer *const timer = UpdateInformationProbe::timer(object);
        QCOMPARE(timer->interval(), defaultSilenceLimit);
        QVERIFY(timer->isSingleShot());
        QVERIFY(timer->isActive());
        QCOMPARE(timer->thread(), object.thread());
    });
}

void UpdateInformationDownloadSilenceTest::progressStartsTheTimerAfresh()
{
    constexpr int other = 10'000'000;
    for (const QString &path : {QStringLiteral("/stepped"), QStringLiteral("/stepped-chunked")}) {
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(stepped(path));
        QVERIFY(information.waitFor(started));
        for (int i = 0; i < 3; ++i) {
            // With another interval a fresh start shows, however little time has passed.
            information.in([](UpdateInformation &object) { UpdateInformationProbe::timer(object)->start(other); });
            const qsizetype before = percentagesIn(information.transcript()).size();
            QVERIFY(stepUntil([&] { return percentagesIn(information.transcript()).size() > before; }));
            information.in([](UpdateInformation &object) {
                const QTimer *const timer = UpdateInformationProbe::timer(object);
                QCOMPARE(timer->interval(), defaultSilenceLimit);
                QVERIFY(timer->isActive());
                QVERIFY(timer->remainingTime() > 0);
            });
        }
    }
}

/// The limit is over when progress comes, but the timer has not fired yet.
void UpdateInformationDownloadSilenceTest::progressAtTheLastMomentIsInTime()
{
    constexpr int shortLimit = 50;
    constexpr int times = 3;
    const QString address =
        m_server.address(QStringLiteral("/stepped?size=1000&pieces=1&name=%1&as=a.exe").arg(first()));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(started));
    for (int i = 1; i <= times; ++i) {
        information.in([=](UpdateInformation &object) {
            QTimer *const timer = UpdateInformationProbe::timer(object);
            QVERIFY(timer != nullptr);
            timer->start(shortLimit);
            while (timer->remainingTime() > 0)
                QThread::msleep(1);
            object.replyDownloadProgress(i, 2 * times);
        });
        // The thread serves its timers.
        QTest::qWait(shortLimit);
    }
    for (int i = 0; i < 2; ++i)
        m_server.step(first());
    QVERIFY(information.waitFor(finished));
    QCOMPARE(information.story(), succeeding(address, 1000));
}

/// It takes longer than the limit, but something comes all the time.
void UpdateInformationDownloadSilenceTest::aSlowDownloadIsNoSilence()
{
    UpdateInformationProbe::setSilenceLimit(10'000);
    const QString address = m_server.address(QStringLiteral("/drip?size=48&piece=1&pause=250&as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(finished));
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, 48));
}

void UpdateInformationDownloadSilenceTest::silenceIsAnError_data()
{
    QTest::addColumn<QString>("path");
    for (const char *const path : {"/silent/before", "/silent/after-header", "/silent/in-body"})
        QTest::newRow(path) << path;
}

void UpdateInformationDownloadSilenceTest::silenceIsAnError()
{
    QFETCH(QString, path);
    UpdateInformationProbe::setSilenceLimit(300);
    for (const QString &port : {QStringLiteral("http"), QStringLiteral("https")}) {
        const QString address = m_server.address(path + QStringLiteral("?as=a.exe"), port);
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(information.waitFor(aborting));
        QCOMPARE(information.story(), beginning(address) + timedOut());
        QVERIFY(information.in([](UpdateInformation &object) {
            return UpdateInformationProbe::timedOut(object) && UpdateInformationProbe::timer(object) == nullptr;
        }));
        QCOMPARE(information.files(), QStringList());
    }
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadSilenceTest)
#include "updateinformation_download_silence_test.moc"
