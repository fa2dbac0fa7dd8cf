// A user who cancels, at any point.

#include "downloadfixture.h"
#include "sanitizers.h"
#include "scripthost.h"

#include <QTest>

class UpdateInformationDownloadCancelTest : public DownloadFixture
{
    Q_OBJECT

private Q_SLOTS:
    void cancelIsSilent_data();
    void cancelIsSilent();
    void cancelInMidBody();
    void cancelAfterTheEnd();
    void cancelWithoutADownload();
    void cancelLosesAgainstATimeout();
    void cancelWhileUnpacking();
};

void UpdateInformationDownloadCancelTest::cancelIsSilent_data()
{
    QTest::addColumn<QString>("path");
    for (const char *const path : {"/silent/before", "/silent/after-header", "/silent/in-body", "/endless"})
        QTest::newRow(path) << path;
}

void UpdateInformationDownloadCancelTest::cancelIsSilent()
{
    QFETCH(QString, path);
    const QString address = m_server.address(path + QStringLiteral("?as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QTRY_COMPARE(m_server.targets(), QStringList{path + QStringLiteral("?as=a.exe")});
    information.cancel();
    information.cancel(); // a user may be quick
    QVERIFY(information.waitFor(aborting));
    information.end();
    QCOMPARE(information.story(), beginning(address) + cancelledByUser() + QStringList{cancelling});
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadCancelTest::cancelInMidBody()
{
    for (const QString &path : {QStringLiteral("/stepped"), QStringLiteral("/stepped-chunked")}) {
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(stepped(path));
        QVERIFY(stepUntil([&] { return !percentagesIn(information.transcript()).isEmpty(); }));
        information.cancel();
        QVERIFY(information.waitFor(aborting));
        m_server.step(first());
        information.end();
        QCOMPARE(information.story(), beginning(stepped(path)) + cancelledByUser());
        QCOMPARE(information.files(), QStringList());
    }
}

void UpdateInformationDownloadCancelTest::cancelAfterTheEnd()
{
    const QString address = m_server.address(QStringLiteral("/body?as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    information.cancel();
    QVERIFY(information.waitFor(cancelling));
    information.end();
    QCOMPARE(information.story(), succeeding(address, 1000) + QStringList{cancelling});
    QCOMPARE(information.files().size(), 1);
}

void UpdateInformationDownloadCancelTest::cancelWithoutADownload()
{
    InformationThread information;
    information.cancel();
    QVERIFY(information.waitFor(cancelling));
    QVERIFY(fetched(information));
    information.cancel();
    QVERIFY(information.waitFor(cancelling));
    QCOMPARE(information.transcript(), QStringList{cancelling});
}

/// One outcome, whichever was first.
void UpdateInformationDownloadCancelTest::cancelLosesAgainstATimeout()
{
    const QString address = m_server.address(QStringLiteral("/silent/before?as=a.exe"));
    for (const bool timeoutFirst : {true, false}) {
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(information.waitFor(started));
        information.in([=](UpdateInformation &object) {
            if (!timeoutFirst)
                object.cancelDownload();
            object.timeoutDownload();
            object.cancelDownload();
        });
        const QStringList late{QStringLiteral("UpdateInformation: timeout"), cancelling, cancelling};
        QCOMPARE(information.story(),
                 beginning(address) + (timeoutFirst ? timedOut() + QStringList{cancelling} : cancelledByUser() + late));
    }
}

/// The window with the button is gone by then; a cancel that was on its way changes nothing.
void UpdateInformationDownloadCancelTest::cancelWhileUnpacking()
{
    if (underThreadSanitizer)
        QSKIP("the object's thread starts a process");
    ScriptHost host;
    host.useStandIn("hang");
    const QString address = m_server.address(QStringLiteral("/body?as=a.zip"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QTRY_VERIFY(information.in(unpacks));
    information.cancel();
    QVERIFY(information.waitFor(cancelling));
    QVERIFY(information.in(unpacks));
    QCOMPARE(information.story(), unpacking(address) + QStringList{cancelling});
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadCancelTest)
#include "updateinformation_download_cancel_test.moc"
