// What only a Unix system can have in the place of the panel's file.

#include "panelsettings.h"

#include "storedsettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class PanelSettingsPosixTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Opened, each of them would never let go; the test's own time limit ends it then.
    void pipesAreMovedOutOfTheWay()
    {
        const QString file = stored::panelFile();
        QVERIFY(QDir().mkpath(QFileInfo(file).path()));
        for (const char *const bad : {".bad", ".bad.2", ".bad.3"}) {
            QCOMPARE(::mkfifo(QFile::encodeName(file).constData(), 0600), 0);
            QVERIFY(openPanelSettings().allKeys().isEmpty());
            QVERIFY(!QFileInfo::exists(file));
            QVERIFY(QFileInfo::exists(file + QString::fromLatin1(bad)));
        }
    }
};

int main(int argc, char **argv)
{
    // Qt looks for its settings folder once per process.
    const QTemporaryDir folder;
    qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());
    PanelSettingsPosixTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "panelsettings_posix_test.moc"
