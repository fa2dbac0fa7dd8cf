// The real program in a bad world, as it can be on Linux: dead files, broken files, full disks.

#include "driverfile_linux.h"
#include "panelprocess.h"
#include "realinput.h"
#include "storedsettings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString reminderTitle = QStringLiteral("VELMAR KD-MX Series Information");

QString runtimeFile(const QString &pattern)
{
    const QDir folder(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    const QStringList names = folder.entryList({pattern}, QDir::Files | QDir::System | QDir::Hidden);
    return names.isEmpty() ? QString() : folder.filePath(names.first());
}

/// A folder on a small file system of its own; skips the test where mounting is refused.
class SmallFileSystem
{
public:
    explicit SmallFileSystem(const QString &options)
    {
        m_mounted = QProcess::execute(QStringLiteral("mount"),
                                      {QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"), options,
                                       QStringLiteral("tmpfs"), m_folder.path()})
            == 0;
    }

    ~SmallFileSystem()
    {
        if (m_mounted)
            QProcess::execute(QStringLiteral("umount"), {QStringLiteral("-l"), m_folder.path()});
    }

    Q_DISABLE_COPY_MOVE(SmallFileSystem)

    bool isMounted() const { return m_mounted; }
    QString path() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    bool m_mounted = false;
};

} // namespace

class StartupLinuxTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        stored::clear();
        stored::writeReminder(false);
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
    }

    void deadLockFilesDelayNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("garbage") << QByteArray("\xff\x00\x01 not a lock \n\n", 17);
    }

    void deadLockFilesDelayNothing()
    {
        QFETCH(QByteArray, content);
        {
            PanelProcess panel;
            QVERIFY(panel.start());
            QVERIFY(panel.waitForWindow());
            panel.kill();
            QCOMPARE(panel.waitForExit(), -2);
        }
        const QString instanceLock = runtimeFile(QStringLiteral("kdmx*.lock"));
        QVERIFY(!instanceLock.isEmpty());
        stored::write(instanceLock, content);
        stored::writeDriver(QStringLiteral("300"), QStringLiteral("0"));
        stored::write(driverFile() + QStringLiteral(".lock"), content);
        stored::write(stored::panelFile() + QStringLiteral(".lock"), content);
        PanelProcess panel;
        QVERIFY(panel.start());
        // Qt waits for half a minute where such a lock stops it.
        QVERIFY(panel.waitForWindow(15000));
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("256"));
        QCOMPARE(stored::driverValue(QStringLiteral("sampleType")), QStringLiteral("18"));
    }

    void brokenSettingsFilesAreReplacedAndKept()
    {
        const QByteArray garbage = QByteArray("\x01\x02 no settings at all\n\xff\xfe\n");
        stored::write(driverFile(), garbage);
        stored::write(stored::panelFile(), garbage + "[PopupMessage]\nWakeUp=false\n");
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("256"));
        QFile kept(driverFile() + QStringLiteral(".bad"));
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), garbage);
    }

    void settingsFolderThatIsAFile()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("config"));
        stored::write(file, "a file");
        worksWithDefaults(file);
    }

    void readOnlyDisk()
    {
        const SmallFileSystem disk(QStringLiteral("ro,size=64k"));
        if (!disk.isMounted())
            QSKIP("Mounting a file system is refused here");
        worksWithDefaults(disk.path());
    }

    void fullDisk()
    {
        const SmallFileSystem disk(QStringLiteral("size=64k"));
        if (!disk.isMounted())
            QSKIP("Mounting a file system is refused here");
        const QByteArray before = "[General]\nblockFrames=300\nsampleType=19\n";
        stored::write(driverFile(disk.path()), before);
        QFile filler(disk.path() + QStringLiteral("/filler"));
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (filler.write(QByteArray(4096, 'x')) > 0) { }
        worksWithDefaults(disk.path());
        QFile after(driverFile(disk.path()));
        QVERIFY(after.open(QIODevice::ReadOnly));
        QCOMPARE(after.readAll(), before);
    }

    void worksWithoutFontsTranslationAndBrowser()
    {
        PanelProcess panel;
        panel.setVariable(QStringLiteral("FONTCONFIG_FILE"), QStringLiteral("/dev/null"));
        panel.setVariable(QStringLiteral("LC_ALL"), QStringLiteral("xx_YY"));
        panel.setVariable(QStringLiteral("PATH"), QStringLiteral("/nowhere"));
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        for (const char *const key : {"Alt_L", "Down", "Right", "Return"})
            realinput::key(QString::fromLatin1(key));
        // The last of the keys has arrived; until then the menu keeps all keys for itself.
        QTRY_VERIFY(panel.errorOutput().contains(QStringLiteral("Unable to detect a web browser")));
        QCOMPARE(panel.close(), 0);
    }

private:
    /// Starts the panel with settings that cannot be written: the reminder comes, then the window, and both work.
    static void worksWithDefaults(const QString &configFolder)
    {
        PanelProcess panel;
        panel.setVariable(QStringLiteral("XDG_CONFIG_HOME"), configFolder);
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow(reminderTitle, 20000));
        realinput::key(QStringLiteral("Escape"));
        QVERIFY(panel.waitForWindow());
        realinput::key(QStringLiteral("Tab"));
        realinput::key(QStringLiteral("Down"));
        QTRY_VERIFY(panel.errorOutput().contains(QStringLiteral("Change Buffer Size:512")));
        QCOMPARE(panel.close(), 0);
    }
};

QTEST_GUILESS_MAIN(StartupLinuxTest)
#include "startup_linux_test.moc"
