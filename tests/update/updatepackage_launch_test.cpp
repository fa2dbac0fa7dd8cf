// The start of an installer, and that it is on its own from then on.

#include "debuglines.h"
#include "packagescene.h"
#include "packageservice.h"
#include "privatemounts.h"
#include "storedsettings.h"
#include "zipfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTest>

#include <memory>

namespace {

const QString exePath = QStringLiteral("/package.exe");
const QString zipPath = QStringLiteral("/package.zip");
const QString setupName = QStringLiteral("setup.exe");
const QStringList readied{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("ready")};
const QStringList failed{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("error")};
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

class UpdatePackageLaunchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void exeByItsBackslashName();
    void installerOfAnArchive();
    void installerWithBlanksAndLetters();
    void startedTwice();
    void cannotBeStarted_data();
    void cannotBeStarted();
    void nothingDownloaded();
    void afterAFailedDownloadTheFormerIsNotStarted();
    void duringADownloadNothingIsStarted();
    void goesOnAfterTheService();
    void goesOnAfterTheProgram_data();
    void goesOnAfterTheProgram();

    void mountCrashed();
    void nothingMounted();
    void mounted_data();
    void mounted();

private:
    bool bring(const QString &address, const QStringList &outcome);
    QString newestFolder() const { return m_scene->packageFolders().value(0); }
    QString file(const QString &name) const { return m_scene->folder(QStringLiteral("marks")) + u'/' + name; }

    /// A shell script that leaves its name, the number of its arguments, and its current folder in the file "begun".
    QByteArray noteOfItself() const;

    /// The same, which goes on until the file "go" is there and then leaves the file "done".
    QByteArray longLived() const;

    /// The lines of "begun", once it is whole.
    QStringList note() const;

    std::unique_ptr<DebugLines> m_lines;
    std::unique_ptr<PackageScene> m_scene;
    std::unique_ptr<PackageService> m_service;
};

void UpdatePackageLaunchTest::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
    m_lines = std::make_unique<DebugLines>();
    m_scene = std::make_unique<PackageScene>();
    m_service = std::make_unique<PackageService>();
    QVERIFY(m_service->fetch());
    DebugLines::take();
}

void UpdatePackageLaunchTest::cleanup()
{
    m_service.reset();
    m_scene.reset();
    m_lines.reset();
}

bool UpdatePackageLaunchTest::bring(const QString &address, const QStringList &outcome)
{
    m_service->download(address);
    if (!QTest::qWaitFor([&] { return m_service->events() == outcome; }, childLimitMs))
        return false;
    m_service->settle();
    return m_service->events() == outcome;
}

QByteArray UpdatePackageLaunchTest::noteOfItself() const
{
    return "#!/bin/sh\nprintf '%s\\n%s\\n%s\\n' \"$0\" \"$#\" \"$PWD\" >>'"
        + QFile::encodeName(file(QStringLiteral("begun"))) + "'\n";
}

QByteArray UpdatePackageLaunchTest::longLived() const
{
    const auto quoted = [this](const char *name) {
        return '\'' + QFile::encodeName(file(QString::fromLatin1(name))) + '\'';
    };
    // It must not stay behind when the test itself dies.
    return noteOfItself() + "for attempt in 1 2 3 4 5 6; do\nfor part in 0 1 2 3 4 5 6 7 8 9; do\n[ -e " + quoted("go")
        + " ] && { : >" + quoted("done") + "; exit; }\n/bin/sleep 0.5\ndone\ndone\n";
}

QStringList UpdatePackageLaunchTest::note() const
{
    QByteArray text;
    const bool isWhole = QTest::qWaitFor(
        [&] { return (text = contentOf(file(QStringLiteral("begun")))).count('\n') >= 3; }, childLimitMs);
    return isWhole ? QFile::decodeName(text).split(u'\n', Qt::SkipEmptyParts) : QStringList();
}

// ---- Off Windows the plain path is the program ----------------------------------------------------------------------

void UpdatePackageLaunchTest::exeByItsBackslashName()
{
    QVERIFY(bring(m_scene->package(exePath, "an installer for Windows"), readied));
    const QString folder = newestFolder();
    // Nothing but a name here, so it is looked for among the programs.
    const QString name = backslashed(folder) + QStringLiteral("\\temp.exe");
    m_scene->addProgram(name, noteOfItself());
    m_service->launch();
    QCOMPARE(note(),
             QStringList({m_scene->folder(QStringLiteral("programs")) + u'/' + name, QStringLiteral("0"), folder}));
    m_service->settle();
    QCOMPARE(m_service->events(), readied);
}

void UpdatePackageLaunchTest::installerOfAnArchive()
{
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{setupName, noteOfItself(), true}})), readied));
    m_service->launch();
    const QString folder = newestFolder();
    QCOMPARE(note(), QStringList({folder + u'/' + setupName, QStringLiteral("0"), folder}));
    m_service->settle();
    QCOMPARE(m_service->events(), readied);
}

void UpdatePackageLaunchTest::installerWithBlanksAndLetters()
{
    m_scene->useTemporaryFolder(m_scene->folder(QStringLiteral("一時 フォルダー")));
    const QString name = QStringLiteral("KD-MX セットアップ.exe");
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{name, noteOfItself(), true}})), readied));
    m_service->launch();
    const QString folder = newestFolder();
    QCOMPARE(note(), QStringList({folder + u'/' + name, QStringLiteral("0"), folder}));
}

void UpdatePackageLaunchTest::startedTwice()
{
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{setupName, noteOfItself(), true}})), readied));
    m_service->launch();
    m_service->launch();
    QTRY_COMPARE_WITH_TIMEOUT(contentOf(file(QStringLiteral("begun"))).count('\n'), 6, childLimitMs);
    m_service->settle();
    QCOMPARE(m_service->events(), readied);
}

void UpdatePackageLaunchTest::cannotBeStarted_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("package");
    QTest::newRow("no program of that name") << exePath << QByteArray("an installer for Windows");
    QTest::newRow("not executable") << zipPath << zipFile({{setupName, "#!/bin/sh\n"}});
    QTest::newRow("not a program") << zipPath << zipFile({{setupName, "an installer for Windows", true}});
    QTest::newRow("interpreter missing") << zipPath << zipFile({{setupName, "#!/no/such/shell\n", true}});
}

void UpdatePackageLaunchTest::cannotBeStarted()
{
    QFETCH(const QString, path);
    QFETCH(const QByteArray, package);
    QVERIFY(bring(m_scene->package(path, package), readied));
    m_service->launch();
    QTRY_COMPARE(m_service->events(), readied + error);
    // Nor when asked again.
    m_service->launch();
    QTRY_COMPARE(m_service->events(), readied + error + error);
}

void UpdatePackageLaunchTest::nothingDownloaded()
{
    m_service->launch();
    m_service->settle();
    QCOMPARE(m_service->events(), error);
}

void UpdatePackageLaunchTest::afterAFailedDownloadTheFormerIsNotStarted()
{
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{setupName, noteOfItself(), true}})), readied));
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{QStringLiteral("readme.txt"), "read me"}})), readied + failed));
    m_service->launch();
    m_service->settle();
    QCOMPARE(m_service->events(), readied + failed + error);
    QVERIFY(!QFile::exists(file(QStringLiteral("begun"))));
}

void UpdatePackageLaunchTest::duringADownloadNothingIsStarted()
{
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{setupName, noteOfItself(), true}})), readied));
    m_service->download(m_scene->slowPackage(exePath, QByteArray(1'000'000, 'x')));
    m_service->launch();
    m_service->settle();
    QCOMPARE(m_service->events(), readied + QStringList{QStringLiteral("started")} + error);
    QVERIFY(!QFile::exists(file(QStringLiteral("begun"))));
}

// ---- On its own -----------------------------------------------------------------------------------------------------

void UpdatePackageLaunchTest::goesOnAfterTheService()
{
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{setupName, longLived(), true}})), readied));
    m_service->launch();
    QVERIFY(!note().isEmpty());
    m_service.reset();
    QVERIFY(!QFile::exists(file(QStringLiteral("done"))));
    stored::write(file(QStringLiteral("go")), {});
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file(QStringLiteral("done"))), childLimitMs);
}

void UpdatePackageLaunchTest::goesOnAfterTheProgram_data()
{
    QTest::addColumn<bool>("isArchive");
    QTest::addColumn<bool>("isKilled");
    QTest::newRow("an EXE, the program ends") << false << false;
    QTest::newRow("an EXE, the program is killed") << false << true;
    QTest::newRow("an archive, the program ends") << true << false;
    QTest::newRow("an archive, the program is killed") << true << true;
}

void UpdatePackageLaunchTest::goesOnAfterTheProgram()
{
    QFETCH(const bool, isArchive);
    QFETCH(const bool, isKilled);
    const QByteArray archive = zipFile({{setupName, longLived(), true}});
    const QString address =
        isArchive ? m_scene->package(zipPath, archive) : m_scene->package(exePath, "an installer for Windows");

    QProcess owner;
    const auto end = qScopeGuard([&owner] {
        owner.kill();
        owner.waitForFinished();
    });
    owner.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    owner.start(qEnvironmentVariable("KDMX_INSTALLER_OWNER"), {address, isKilled ? QStringLiteral("stay") : QString()});
    QByteArray told;
    QTRY_VERIFY_WITH_TIMEOUT((told += owner.readAllStandardOutput()).endsWith('\n'), childLimitMs);
    const QString path = QFile::decodeName(told.trimmed());
    if (!isArchive)
        m_scene->addProgram(path, longLived());
    owner.write("go\n");
    QCOMPARE(note().value(0), isArchive ? path : m_scene->folder(QStringLiteral("programs")) + u'/' + path);

    if (isKilled)
        owner.kill();
    QTRY_COMPARE_WITH_TIMEOUT(owner.state(), QProcess::NotRunning, childLimitMs);
    QCOMPARE(owner.exitStatus(), isKilled ? QProcess::CrashExit : QProcess::NormalExit);
    if (!isKilled)
        QCOMPARE(owner.exitCode(), 0);
    QVERIFY(!QFile::exists(file(QStringLiteral("done"))));
    stored::write(file(QStringLiteral("go")), {});
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file(QStringLiteral("done"))), childLimitMs);
}

// ---- Disk images ----------------------------------------------------------------------------------------------------

void UpdatePackageLaunchTest::mountCrashed()
{
    m_scene->addProgram(QStringLiteral("open"), noteOfItself());
    m_service->findMounted(0, true);
    m_service->settle();
    QCOMPARE(DebugLines::take(), QStringList({mountLine, QStringLiteral("UpdateInformation: CrashExit")}));
    QCOMPARE(m_service->events(), error);
}

void UpdatePackageLaunchTest::nothingMounted()
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

void UpdatePackageLaunchTest::mounted_data()
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

void UpdatePackageLaunchTest::mounted()
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
    UpdatePackageLaunchTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "updatepackage_launch_test.moc"
