// The object's end, whatever it is doing.

#include "downloadfixture.h"
#include "sanitizers.h"
#include "scripthost.h"

#include <QTest>

class UpdateInformationDownloadEndTest : public DownloadFixture
{
    Q_OBJECT

private Q_SLOTS:
    void endsCleanlyAtAnyPoint_data();
    void endsCleanlyAtAnyPoint();
    void endsCleanlyWhileUnpacking();
    void endsCleanlyAfterTheEnd();
};

void UpdateInformationDownloadEndTest::endsCleanlyAtAnyPoint_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("destroy");
    for (const char *const path : {"/silent/before", "/silent/after-header", "/silent/in-body", "/endless"}) {
        QTest::addRow("shut down, %s", path) << path << false;
        QTest::addRow("destroyed, %s", path) << path << true;
    }
}

void UpdateInformationDownloadEndTest::endsCleanlyAtAnyPoint()
{
    QFETCH(QString, path);
    QFETCH(bool, destroy);
    const QString address = m_server.address(path + QStringLiteral("?as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QTRY_COMPARE(m_server.targets().size(), 1);
    if (destroy)
        information.destroyInThread();
    else
        information.end();
    QCOMPARE(information.story(), beginning(address));
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadEndTest::endsCleanlyWhileUnpacking()
{
    if (underThreadSanitizer)
        QSKIP("the object's thread starts a process");
    ScriptHost host;
    host.useStandIn("hang");
    const QString address = m_server.address(QStringLiteral("/body?as=a.zip"));
    for (const bool destroy : {false, true}) {
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QTRY_VERIFY(information.in(unpacks));
        if (destroy) {
            information.destroyInThread();
        } else {
            information.in([](UpdateInformation &object) {
                object.shutDown();
                QVERIFY(!unpacks(object));
            });
            information.end();
        }
        QCOMPARE(information.story(), unpacking(address));
    }
}

void UpdateInformationDownloadEndTest::endsCleanlyAfterTheEnd()
{
    for (const bool destroy : {false, true}) {
        const QString address = m_server.address(QStringLiteral("/body?as=a.exe"));
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(information.waitFor(readied));
        if (destroy)
            information.destroyInThread();
        else
            information.end();
        QCOMPARE(information.story(), succeeding(address, 1000));
        QCOMPARE(information.files().size(), 1); // the installer may run for long
    }
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadEndTest)
#include "updateinformation_download_end_test.moc"
