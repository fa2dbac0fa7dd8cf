// The real program in processes of its own: starting, starting again, and starting in a bad world.

#include "instancechannel.h"
#include "instancelock.h"
#include "logonsession.h"
#include "messageframe.h"
#include "panelprocess.h"
#include "realinput.h"
#include "singleinstanceid.h"
#include "storedsettings.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <vector>

namespace {

const QString mainTitle = QStringLiteral("VELMAR KD-MX Series");
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

/// Plays a first instance of the panel that does as it is told: holds the lock and listens.
class FirstInstance
{
public:
    FirstInstance()
        : m_channel(instanceChannel(
            singleInstanceId(QFileInfo(qEnvironmentVariable("KDMX_PANEL")).canonicalFilePath(), logonSession())))
        , m_lock(m_channel.lockName)
    {
        QLocalServer::removeServer(m_channel.serverName);
        m_isListening = m_lock.tryLock() == InstanceLock::Result::Locked && m_server.listen(m_channel.serverName);
    }

    bool isListening() const { return m_isListening; }

    /// The text that the next start sends; null if none comes.
    QString receive()
    {
        QByteArray frame;
        const auto isComplete = [&] {
            if (m_sender == nullptr)
                m_sender = m_server.nextPendingConnection();
            if (m_sender != nullptr)
                frame += m_sender->readAll();
            return frame.size() >= 4 && messageframe::missingBytes(frame) == 0;
        };
        return QTest::qWaitFor(isComplete, 20000) ? messageframe::toText(frame) : QString();
    }

    void acknowledge()
    {
        m_sender->write(messageframe::acknowledgement);
        m_sender->flush();
    }

private:
    InstanceChannel m_channel;
    InstanceLock m_lock;
    QLocalServer m_server;
    QLocalSocket *m_sender = nullptr;
    bool m_isListening = false;
};

int stormStarts()
{
    return qEnvironmentVariableIntValue("KDMX_STORM_STARTS");
}

} // namespace

class StartupTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        stored::clear();
        stored::writeReminder(false);
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
    }

    void opensItsWindowAndEndsCleanly()
    {
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        QCOMPARE(panel.close(), 0);
        QCOMPARE(panel.errorOutput(), QStringLiteral("MainWindow End\n~MainWindow\n"));
    }

    void reminderComesBeforeTheWindow()
    {
        stored::clear();
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow(reminderTitle, 20000));
        QVERIFY(panel.windows(mainTitle).isEmpty());
        realinput::key(QStringLiteral("Escape"));
        QVERIFY(panel.waitForWindow());
        QVERIFY(panel.windows(reminderTitle).isEmpty());
    }

    void settingsGoFromOneRunToTheNext()
    {
        {
            PanelProcess panel;
            QVERIFY(panel.start());
            QVERIFY(panel.waitForWindow());
            realinput::key(QStringLiteral("Tab"));
            realinput::key(QStringLiteral("Down"));
            QTRY_COMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("512"));
            QCOMPARE(panel.close(), 0);
        }
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        realinput::key(QStringLiteral("Tab"));
        realinput::key(QStringLiteral("Down"));
        QTRY_COMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("1024"));
    }

    void secondStartBringsTheMinimisedWindowBack()
    {
        PanelProcess first;
        QVERIFY(first.start());
        QVERIFY(first.waitForWindow());
        const QString window = first.windows(mainTitle).first();
        QProcess::execute(QStringLiteral("xdotool"), {QStringLiteral("windowminimize"), window});
        QTRY_VERIFY(first.windows(mainTitle).isEmpty());

        PanelProcess second;
        QVERIFY(second.start());
        QCOMPARE(second.waitForExit(), 0);
        QVERIFY(first.waitForWindow());
        QCOMPARE(second.errorOutput(), QString());
    }

    void secondStartDuringTheReminderIsAcknowledgedAndRaisesNothing()
    {
        stored::clear();
        PanelProcess first;
        QVERIFY(first.start());
        QVERIFY(first.waitForWindow(reminderTitle, 20000));
        PanelProcess second;
        QVERIFY(second.start());
        QCOMPARE(second.waitForExit(), 0);
        QVERIFY(first.windows(mainTitle).isEmpty());
        QVERIFY(!first.windows(reminderTitle).isEmpty());
    }

    void stoppedFirstInstanceRefusesTheSecond()
    {
        PanelProcess first;
        QVERIFY(first.start());
        QVERIFY(first.waitForWindow());
        first.sendSignal(SIGSTOP);
        PanelProcess second;
        QVERIFY(second.start());
        QCOMPARE(second.waitForExit(), 1);
        first.sendSignal(SIGCONT);
        QCOMPARE(first.close(), 0);
    }

    void secondStartSaysItsText()
    {
        FirstInstance first;
        QVERIFY(first.isListening());
        PanelProcess second;
        QVERIFY(second.start());
        QCOMPARE(first.receive(), QStringLiteral("Already App is Running!"));
        first.acknowledge();
        QCOMPARE(second.waitForExit(), 0);
    }

    void secondStartWaitsFiveSecondsForItsAcknowledgement()
    {
        FirstInstance first;
        QVERIFY(first.isListening());
        PanelProcess second;
        QVERIFY(second.start());
        QVERIFY(!first.receive().isEmpty());
        QElapsedTimer sinceText;
        sinceText.start();
        QCOMPARE(second.waitForExit(), 1);
        // The text goes out a moment after the clock of the second start has begun to run.
        QVERIFY2(sinceText.elapsed() > 4500, qPrintable(QString::number(sinceText.elapsed())));
    }

    void nextStartTakesOverFromAKilledInstance()
    {
        PanelProcess first;
        QVERIFY(first.start());
        QVERIFY(first.waitForWindow());
        first.sendSignal(SIGKILL);
        QCOMPARE(first.waitForExit(), -2);
        PanelProcess second;
        QVERIFY(second.start());
        QVERIFY(second.waitForWindow());
        QCOMPARE(second.close(), 0);
    }

    void copyAtAnotherPathIsIndependent()
    {
        const QTemporaryDir folder;
        const QString copy = folder.filePath(QStringLiteral("KD-MX_Series"));
        QVERIFY(QFile::copy(qEnvironmentVariable("KDMX_PANEL"), copy));
        PanelProcess first;
        PanelProcess other(copy);
        QVERIFY(first.start());
        QVERIFY(first.waitForWindow());
        QVERIFY(other.start());
        QVERIFY(other.waitForWindow());
        QVERIFY(!first.windows(mainTitle).isEmpty());
    }

    void aStormOfStartsOpensOneWindow()
    {
        const int starts = stormStarts();
        QVERIFY(starts > 1);
        std::vector<std::unique_ptr<PanelProcess>> panels;
        for (int count = 0; count < starts; ++count) {
            panels.push_back(std::make_unique<PanelProcess>());
            QVERIFY(panels.back()->start());
        }
        int running = 0;
        const auto countRunning = [&] {
            running = 0;
            for (const auto &panel : panels)
                running += panel->waitForExit(0) == -1 ? 1 : 0;
            return running == 1;
        };
        QVERIFY2(QTest::qWaitFor(countRunning, 90000), qPrintable(QString::number(running)));
        for (const auto &panel : panels) {
            const int code = panel->waitForExit(0);
            QVERIFY2(code == 0 || code == -1, qPrintable(QString::number(code) + panel->errorOutput()));
            if (code == -1)
                QVERIFY(panel->waitForWindow());
        }
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
            panel.sendSignal(SIGKILL);
            QCOMPARE(panel.waitForExit(), -2);
        }
        const QString instanceLock = runtimeFile(QStringLiteral("kdmx*.lock"));
        QVERIFY(!instanceLock.isEmpty());
        stored::write(instanceLock, content);
        stored::writeDriver(QStringLiteral("300"), QStringLiteral("0"));
        stored::write(stored::driverFile() + QStringLiteral(".lock"), content);
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
        stored::write(stored::driverFile(), garbage);
        stored::write(stored::panelFile(), garbage + "[PopupMessage]\nWakeUp=false\n");
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("256"));
        QFile kept(stored::driverFile() + QStringLiteral(".bad"));
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
        stored::write(stored::driverFile(disk.path()), before);
        QFile filler(disk.path() + QStringLiteral("/filler"));
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (filler.write(QByteArray(4096, 'x')) > 0) { }
        worksWithDefaults(disk.path());
        QFile after(stored::driverFile(disk.path()));
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
        QTest::qWait(200);
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

QTEST_GUILESS_MAIN(StartupTest)
#include "startup_test.moc"
