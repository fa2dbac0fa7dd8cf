// The start of an installer off Windows, where the path with backslashes is nothing but a name, and disk images. By
// means of Linux: programs of any name on PATH, mounts.

#include "debuglines.h"
#include "filecontent.h"
#include "installerowner.h"
#include "installerprogram.h"
#include "packagefixture.h"
#include "privatemounts.h"
#include "storedsettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>

namespace {

const QString exePath = QStringLiteral("/package.exe");
const QStringList readied{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("ready")};
const QStringList error{QStringLiteral("error")};

const QString volumes = QStringLiteral("/Volumes");
const QString mountLine = QStringLiteral("UpdateInformation: replyFinishedMount");

constexpr int childLimitMs = 30'000;

/// Gives a folder of the top level a content that only this test sees. It is made if need be, and then removed.
class TopLevelFolder
{
public:
    explicit TopLevelFolder(const QString &path)
        : m_path(path)
        , m_isMade(QDir().mkdir(path))
        , m_disk(path, "size=1m")
    {
    }
    ~TopLevelFolder()
    {
        m_disk.release();
        if (m_isMade)
            QDir().rmdir(m_path);
    }
    Q_DISABLE_COPY_MOVE(TopLevelFolder)

    explicit operator bool() const { return static_cast<bool>(m_disk); }

private:
    QString m_path;
    bool m_isMade;
    privatemounts::Mount m_disk;
};

} // namespace

class UpdatePackageLaunchPosixTest : public PackageFixture
{
    Q_OBJECT

private Q_SLOTS:
    void exeByItsBackslashName();
    void goesOnAfterTheProgram_data();
    void goesOnAfterTheProgram();

    void mountCrashed();
    void nothingMounted();
    void mounted_data();
    void mounted();

private:
    QString marks() const { return m_scene->folder(QStringLiteral("marks")); }
    QString file(const QString &name) const { return marks() + u'/' + name; }
    QStringList note() const { return installerprogram::note(marks()); }
};

// ---- An EXE ---------------------------------------------------------------------------------------------------------

void UpdatePackageLaunchPosixTest::exeByItsBackslashName()
{
    m_service->download(m_scene->package(exePath, "an installer for Windows"));
    QTRY_COMPARE_WITH_TIMEOUT(m_service->events(), readied, childLimitMs);
    const QString folder = m_scene->packageFolders().value(0);
    // Nothing but a name here, so it is looked for among the programs.
    const QString name = backslashed(folder) + QStringLiteral("\\temp.exe");
    m_scene->addProgram(name, installerprogram::content(marks()));
    m_service->launch();
    QCOMPARE(note(), QStringList({m_scene->host().programs() + u'/' + name, QStringLiteral("0"), folder}));
    m_service->settle();
    QCOMPARE(m_service->events(), readied);
}

void UpdatePackageLaunchPosixTest::goesOnAfterTheProgram_data()
{
    QTest::addColumn<bool>("isKilled");
    QTest::newRow("the program ends") << false;
    QTest::newRow("the program is killed") << true;
}

void UpdatePackageLaunchPosixTest::goesOnAfterTheProgram()
{
    QFETCH(const bool, isKilled);
    InstallerOwner owner(m_scene->package(exePath, "an installer for Windows"), isKilled);
    const QString installer = owner.installer();
    QVERIFY(!installer.isEmpty());
    m_scene->addProgram(installer, installerprogram::content(marks(), true));
    owner.launch();
    QCOMPARE(note().value(0), m_scene->host().programs() + u'/' + installer);
    QVERIFY(owner.end());
    QVERIFY(!QFile::exists(file(QStringLiteral("done"))));
    stored::write(file(QStringLiteral("go")), {});
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file(QStringLiteral("done"))), childLimitMs);
}

// ---- Disk images ----------------------------------------------------------------------------------------------------

void UpdatePackageLaunchPosixTest::mountCrashed()
{
    m_scene->addProgram(QStringLiteral("open"), installerprogram::content(marks()));
    m_service->findMounted(0, true);
    m_service->settle();
    QCOMPARE(DebugLines::take(), QStringList({mountLine, QStringLiteral("UpdateInformation: CrashExit")}));
    QCOMPARE(m_service->events(), error);
}

void UpdatePackageLaunchPosixTest::nothingMounted()
{
    if (QFile::exists(volumes))
        QSKIP("there is a folder /Volumes");
    m_service->findMounted(7, false);
    m_service->settle();
    QStringList lines{mountLine};
    for (int attempt = 0; attempt < 5; ++attempt)
        lines.append(mountLine + QStringLiteral(": sleep %1").arg(attempt));
    QCOMPARE(DebugLines::take(), lines);
}

void UpdatePackageLaunchPosixTest::mounted_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("arguments");

    const QString package = QStringLiteral("/Volumes/CorvoMixer_Installer/CorvoMixer_Installer.pkg");
    const QString application = QStringLiteral("/Volumes/dmg/corvo9_firmware.app");
    const QString softwareLine = mountLine + QStringLiteral(": software update");
    const QString firmwareLine = mountLine + QStringLiteral(": firmware update");
    const QStringList softwareArguments{QStringLiteral("/System/Library/CoreServices/installer.app"), package};
    QTest::newRow("software") << QStringList{package} << softwareLine << softwareArguments;
    QTest::newRow("firmware") << QStringList{application} << firmwareLine << QStringList{application};
    QTest::newRow("both") << QStringList{application, package} << softwareLine << softwareArguments;
}

void UpdatePackageLaunchPosixTest::mounted()
{
    QFETCH(const QStringList, paths);
    QFETCH(const QString, line);
    QFETCH(const QStringList, arguments);
    const TopLevelFolder folder(volumes);
    if (!folder)
        QSKIP("a folder /Volumes cannot be made here");
    for (const QString &path : paths)
        stored::write(path, {});
    const QByteArray mark = QFile::encodeName(file(QStringLiteral("opened")));
    m_scene->addProgram(QStringLiteral("open"), "#!/bin/sh\nprintf '%s\\n' \"$@\" end >'" + mark + "'\n");

    m_service->findMounted(0, false);
    m_service->settle();
    QCOMPARE(DebugLines::take(), QStringList({mountLine, line}));
    const QString expected = arguments.join(u'\n') + QStringLiteral("\nend\n");
    QTRY_COMPARE_WITH_TIMEOUT(QFile::decodeName(contentOf(file(QStringLiteral("opened")))), expected, childLimitMs);
    QCOMPARE(m_service->events(), QStringList());
}

int main(int argc, char *argv[])
{
    privatemounts::enter();
    QCoreApplication application(argc, argv);
    UpdatePackageLaunchPosixTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "updatepackage_launch_posix_test.moc"
