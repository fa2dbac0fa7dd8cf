// The panel, which holds its device from before main() until after it, started and ended over and over.

#include "panelprocess.h"
#include "storedsettings.h"

#include <QStandardPaths>
#include <QTest>

class PanelLifetimeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsAndEnds()
    {
        const int count = qEnvironmentVariableIntValue("KDMX_PANEL_STARTS");
        QVERIFY(count > 0);
        if (qEnvironmentVariableIsSet("KDMX_VALGRIND_PROGRAM")
            && QStandardPaths::findExecutable(QStringLiteral("valgrind")).isEmpty())
            QSKIP("valgrind is not installed");
        stored::clear();
        stored::writeReminder(false);
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
        for (int index = 0; index < count; ++index) {
            PanelProcess panel;
            QVERIFY(panel.start());
            QVERIFY2(panel.waitForWindow(120000), qPrintable(panel.errorOutput()));
            const int code = panel.close();
            QVERIFY2(code == 0, qPrintable(QString::number(code) + u'\n' + panel.errorOutput()));
            QCOMPARE(panel.errorOutput(), QStringLiteral("MainWindow End\n~MainWindow\n"));
        }
    }
};

QTEST_GUILESS_MAIN(PanelLifetimeTest)
#include "panel_lifetime_test.moc"
