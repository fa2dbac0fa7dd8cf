// A download after another one, or in the place of it.

#include "downloadfixture.h"
#include "filecontent.h"
#include "sanitizers.h"
#include "scripthost.h"
#include "updateinformationprobe.h"

#include <QFileInfo>
#include <QTest>
#include <QTimer>

#include <algorithm>

class UpdateInformationDownloadSecondTest : public DownloadFixture
{
    Q_OBJECT

private Q_SLOTS:
    void aSecondDownloadTakesThePlaceOfTheFirst_data();
    void aSecondDownloadTakesThePlaceOfTheFirst();
    void aSecondDownloadWhileTheFirstUnpacks();
    void aSecondDownloadAfterTheEnd();
    void aSecondDownloadAfterAFailure();
};

void UpdateInformationDownloadSecondTest::aSecondDownloadTakesThePlaceOfTheFirst_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("inMidBody");
    QTest::newRow("before the header") << "/stepped" << false;
    QTest::newRow("in mid-body") << "/stepped" << true;
    QTest::newRow("in a chunked body") << "/stepped-chunked" << true;
}

void UpdateInformationDownloadSecondTest::aSecondDownloadTakesThePlaceOfTheFirst()
{
    constexpr int other = 10'000'000;
    QFETCH(QString, path);
    QFETCH(bool, inMidBody);
    const QString address =
        m_server.address(QStringLiteral("/stepped?size=5000&pieces=1&name=%1&as=a.exe").arg(second()));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(stepped(path));
    QVERIFY(information.waitFor(started));
    QTRY_COMPARE(m_server.targets().size(), 1);
    if (inMidBody)
        QVERIFY(stepUntil([&] { return !percentagesIn(information.transcript()).isEmpty(); }));
    information.forget();

    information.download(address);
    QVERIFY(information.waitFor(started));
    information.in([](UpdateInformation &object) { UpdateInformationProbe::timer(object)->start(other); });
    m_server.step(first());
    m_server.step(first());
    QTRY_COMPARE(m_server.targets().size(), 2);
    // The first one's end has not touched the second one's timer.
    information.in([](UpdateInformation &object) {
        QVERIFY(UpdateInformationProbe::timer(object)->isActive());
        QCOMPARE(UpdateInformationProbe::timer(object)->interval(), other);
    });
    m_server.step(second());
    m_server.step(second());
    QVERIFY(information.waitFor(readied));
    information.end();
    QCOMPARE(information.story(), succeeding(address, 5000));
    QCOMPARE(information.files().size(), 1);
    QVERIFY(contentOf(information.files().constFirst()) == UpdateServer::body(5000));
}

void UpdateInformationDownloadSecondTest::aSecondDownloadWhileTheFirstUnpacks()
{
    if (underThreadSanitizer)
        QSKIP("the object's thread starts a process");
    ScriptHost host;
    host.useStandIn("hang");
    const QString address = m_server.address(QStringLiteral("/body?size=20&as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/body?as=a.zip")));
    QTRY_VERIFY(information.in(unpacks));
    information.forget();
    information.download(address);
    QVERIFY(information.waitFor(readied));
    // The host was killed, and goes when the system gets to it.
    QTRY_VERIFY(!information.in(unpacks));
    information.end();
    QCOMPARE(information.story(), succeeding(address, 20));
}

void UpdateInformationDownloadSecondTest::aSecondDownloadAfterTheEnd()
{
    const QString first = m_server.address(QStringLiteral("/body?size=10&as=a.exe"));
    const QString second = m_server.address(QStringLiteral("/body?size=20&as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(first);
    QVERIFY(information.waitFor(readied));
    information.forget();
    information.download(second);
    QVERIFY(information.waitFor(readied));
    information.end();
    QCOMPARE(information.story(), succeeding(second, 20));
    // Each in a folder of its own; the first one stays, for its installer may run.
    QList<qint64> sizes;
    for (const QString &file : information.files())
        sizes.append(QFileInfo(file).size());
    std::sort(sizes.begin(), sizes.end());
    QCOMPARE(sizes, (QList<qint64>{10, 20}));
}

void UpdateInformationDownloadSecondTest::aSecondDownloadAfterAFailure()
{
    const QString address = m_server.address(QStringLiteral("/body?as=a.exe"));
    UpdateInformationProbe::setSilenceLimit(300);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/silent/before?as=a.exe")));
    QVERIFY(information.waitFor(aborting));
    UpdateInformationProbe::setSilenceLimit(defaultSilenceLimit);
    information.forget();
    information.download(address);
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, 1000));
    // What timed out has been forgotten: this one's cancel would be silent.
    QVERIFY(!information.in([](UpdateInformation &object) { return UpdateInformationProbe::timedOut(object); }));
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadSecondTest)
#include "updateinformation_download_second_test.moc"
