// What users get: the panel's program carries the update service whole, and leaves it alone.

#include "panelprocess.h"
#include "storedsettings.h"

#include <QFile>
#include <QTcpServer>
#include <QTest>

namespace {

/// The names of a meta-object as the compiler stores them: the class, then its methods in their order.
struct StoredNames
{
    QByteArray className;
    QList<QByteArray> methods;
};

const StoredNames stored_names[] = {
    {"UpdateInformation",
     {"finishedInformation", "startedDownloadFile", "finishedDownloadFile", "progressValueChanged", "errorDownloadFile",
      "readiedExec", "downloadInformation", "downloadFile", "cancelDownload", "timeoutDownload", "execFile",
      "replyFinishedInfo", "replyFinishedFileDownload", "replyFinishedUnzip", "replyFinishedMount",
      "replyDownloadProgress"}},
    {"UpdateSoftware",
     {"readiedDownloadFile", "stopDownload", "saveInformation", "openDownloadFileInfo", "closeDownloadFileInfo",
      "openExecWindow", "closeExecWindow", "decideClickedSoftware", "decideClickedFirmware", "decideClickedInformation",
      "cancelSoftware", "cancelFirmware", "cancelDownload", "showMsgBoxError", "enableCanselButton"}},
};

/// Whether the methods follow the class name at this place, with nothing but their types and parameters between them.
bool holdsMethodsAt(const QByteArray &program, qsizetype position, const StoredNames &names)
{
    for (const QByteArray &method : names.methods) {
        constexpr qsizetype farthest = 100;
        const qsizetype next = program.indexOf('\0' + method + '\0', position);
        if (next < 0 || next > position + farthest)
            return false;
        position = next;
    }
    return true;
}

bool holds(const QByteArray &program, const StoredNames &names)
{
    const QByteArray className = names.className + '\0';
    for (qsizetype at = program.indexOf(className); at >= 0; at = program.indexOf(className, at + 1)) {
        if (holdsMethodsAt(program, at, names))
            return true;
    }
    return false;
}

} // namespace

class ShippedTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theProgramHoldsTheMetaObjects()
    {
        QFile file(qEnvironmentVariable("KDMX_PANEL"));
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const QByteArray program = file.readAll();
        for (const StoredNames &names : stored_names)
            QVERIFY2(holds(program, names), names.className.constData());
    }

    void thePanelAsksNobodyForUpdates()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        stored::clear();
        stored::write(stored::panelFile(),
                      QStringLiteral("[PopupMessage]\nWakeUp=false\n[Update]\nJsonUrl=http://127.0.0.1:%1/\n")
                          .arg(server.serverPort())
                          .toUtf8());
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        QCOMPARE(panel.close(), 0);
        server.waitForNewConnection(0);
        QVERIFY(!server.hasPendingConnections());
    }
};

QTEST_GUILESS_MAIN(ShippedTest)
#include "shipped_test.moc"
