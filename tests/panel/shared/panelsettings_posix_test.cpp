// What only a Unix system can have in the place of the panel's file.

#include "panelsettings.h"

#include "storedsettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {

void makePipe(const QString &file)
{
    QVERIFY(QDir().mkpath(QFileInfo(file).path()));
    QCOMPARE(::mkfifo(QFile::encodeName(file).constData(), 0600), 0);
}

} // namespace

class PanelSettingsPosixTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Opened, each of them would never let go; the test's own time limit ends it then.
    void pipesAreMovedOutOfTheWay()
    {
        const QString file = stored::panelFile();
        for (const char *const bad : {".bad", ".bad.2", ".bad.3"}) {
            makePipe(file);
            QVERIFY(openPanelSettings().allKeys().isEmpty());
            QVERIFY(!QFileInfo::exists(file));
            QVERIFY(QFileInfo::exists(file + QString::fromLatin1(bad)));
        }
    }

    // The maker's other programs may keep settings of their own there. QSettings reads them if one lets it.
    void otherFilesAreNotEvenOpened()
    {
        makePipe(qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/VELMAR.ini"));
        makePipe(qEnvironmentVariable("XDG_CONFIG_DIRS") + QStringLiteral("/VELMAR.ini"));
        makePipe(qEnvironmentVariable("XDG_CONFIG_DIRS") + QStringLiteral("/VELMAR/KD-MXSeries.ini"));
        stored::writeReminder(true);
        QVERIFY(openPanelSettings().value(QStringLiteral("PopupMessage/WakeUp")).toBool());
    }
};

int main(int argc, char **argv)
{
    // Qt looks for its settings folder once per process.
    const QTemporaryDir folder;
    qputenv("XDG_CONFIG_HOME", folder.filePath(QStringLiteral("user")).toUtf8());
    qputenv("XDG_CONFIG_DIRS", folder.filePath(QStringLiteral("machine")).toUtf8());
    PanelSettingsPosixTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "panelsettings_posix_test.moc"
