// A real installer on Windows: a program that comes from a real server, is started from wherever it lies, and goes on
// by itself; and Windows' own script host.

#include "debuglines.h"
#include "environment.h"
#include "filecontent.h"
#include "hostrecord.h"
#include "installerowner.h"
#include "installerprogram.h"
#include "packagefile.h"
#include "packagefixture.h"
#include "storedsettings.h"
#include "unzipscript.h"
#include "updateserver.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

namespace {

constexpr int childLimitMs = 30'000;

const QStringList readied{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("ready")};
const QStringList failed{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("error")};
const QString installerName = QStringLiteral("KD-MX_Setup.exe");
const QString plain = QStringLiteral("temporary");
const QString withBlanks = QStringLiteral("Program Files (x86) & more");
const QString withLetters = QStringLiteral("一時 フォルダー");

QString systemsHost()
{
    return QDir::fromNativeSeparators(qEnvironmentVariable("SystemRoot")) + QStringLiteral("/system32/cscript.exe");
}

} // namespace

class UpdatePackageWindowsTest : public PackageFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_server.isRunning()); }

    void installerFromTheServer_data();
    void installerFromTheServer();
    void nothingElseIsStarted();
    void goesOnAfterTheProgram_data();
    void goesOnAfterTheProgram();
    void hostIsGivenThreeArguments();
    void hostUnpacks();
    void hostRunsTheScript();

private:
    QString marks() const { return m_scene->folder(QStringLiteral("marks")); }
    QString file(const QString &name) const { return marks() + u'/' + name; }

    /// Windows' TLS in Qt 6.4 may lose the end of a large body if the server closes after it, so the client closes.
    QString addressOf(const QString &file, const QString &port) const
    {
        return m_server.address(QStringLiteral("/files/%1?stays=1&as=%1").arg(file), port);
    }

    /// The address of an installer that notes in marks() that it was started.
    QString installer(bool isLongLived = false, const QString &port = QStringLiteral("https")) const;

    /// The address of an archive with one.
    QString archive() const;

    /// The lines of the file "start".
    QStringList startNote() const { return QString::fromUtf8(contentOf(file(QStringLiteral("start")))).split(u'\n'); }

    UpdateServer m_server;
};

QString UpdatePackageWindowsTest::installer(bool isLongLived, const QString &port) const
{
    m_server.addFile(installerName, installerprogram::content(marks(), isLongLived));
    return addressOf(installerName, port);
}

QString UpdatePackageWindowsTest::archive() const
{
    const QString name = QStringLiteral("KD-MX.zip");
    m_server.addFile(name, zipFile({{installerName, installerprogram::content(marks())}}));
    return addressOf(name, QStringLiteral("https"));
}

// ---- The installer --------------------------------------------------------------------------------------------------

void UpdatePackageWindowsTest::installerFromTheServer_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("port");
    for (const QString &port : {QStringLiteral("http"), QStringLiteral("https")}) {
        QTest::addRow("plain, %s", qPrintable(port)) << plain << port;
        QTest::addRow("blanks, %s", qPrintable(port)) << withBlanks << port;
        QTest::addRow("letters, %s", qPrintable(port)) << withLetters << port;
    }
}

void UpdatePackageWindowsTest::installerFromTheServer()
{
    QFETCH(const QString, folder);
    QFETCH(const QString, port);
    m_scene->useTemporaryFolder(m_scene->folder(folder));
    m_service->download(installer(false, port));
    QTRY_COMPARE_WITH_TIMEOUT(m_service->events(), readied, childLimitMs);
    const QString packageFolder = m_scene->packageFolders().value(0);
    QVERIFY(packageFolder.contains(folder));
    QCOMPARE(namesIn(packageFolder), QStringList{QStringLiteral("temp.exe")});

    m_service->launch();
    const QString program = packageFolder + QStringLiteral("/temp.exe");
    QCOMPARE(installerprogram::note(marks()), QStringList({program, QStringLiteral("0"), packageFolder}));
    QCOMPARE(startNote().value(0).trimmed(), u'"' + backslashed(program) + u'"');
    QCOMPARE(startNote().value(1), QString::number(QCoreApplication::applicationPid()));
    m_service->settle();
    QCOMPARE(m_service->events(), readied);
}

/// Of an unquoted path with a blank, Windows tries what stands before the blank first.
void UpdatePackageWindowsTest::nothingElseIsStarted()
{
    const QString folder = m_scene->folder(QStringLiteral("setup files"));
    stored::write(QFileInfo(folder).path() + QStringLiteral("/setup.exe"), installerprogram::content(marks()));
    m_scene->useTemporaryFolder(folder);
    m_service->download(installer());
    QTRY_COMPARE_WITH_TIMEOUT(m_service->events(), readied, childLimitMs);
    m_service->launch();
    QCOMPARE(installerprogram::note(marks()).value(0),
             m_scene->packageFolders().value(0) + QStringLiteral("/temp.exe"));
}

void UpdatePackageWindowsTest::goesOnAfterTheProgram_data()
{
    QTest::addColumn<bool>("isKilled");
    QTest::addColumn<QString>("folder");
    QTest::newRow("the program ends, blanks") << false << withBlanks;
    QTest::newRow("the program is killed, blanks") << true << withBlanks;
    QTest::newRow("the program ends, letters") << false << withLetters;
}

void UpdatePackageWindowsTest::goesOnAfterTheProgram()
{
    QFETCH(const bool, isKilled);
    QFETCH(const QString, folder);
    m_scene->useTemporaryFolder(m_scene->folder(folder));
    InstallerOwner owner(installer(true, QStringLiteral("http")), isKilled);
    const QString path = owner.installer();
    QVERIFY2(path.contains(folder), qPrintable(path));
    const QString starter = QString::number(owner.pid());
    owner.launch();
    QCOMPARE(installerprogram::note(marks()).value(0), QDir::fromNativeSeparators(path));
    QCOMPARE(startNote().value(1), starter);

    QVERIFY(owner.end());
    QVERIFY(!QFile::exists(file(QStringLiteral("done"))));
    stored::write(file(QStringLiteral("go")), {});
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file(QStringLiteral("done"))), childLimitMs);
}

// ---- The script host ------------------------------------------------------------------------------------------------

/// Windows' own host, with somebody in between who notes what it is given.
void UpdatePackageWindowsTest::hostIsGivenThreeArguments()
{
    environment::set("KDMX_CSCRIPT_REAL", systemsHost());
    m_scene->useTemporaryFolder(m_scene->folder(withBlanks));
    m_scene->host().useStandIn("real");
    m_service->download(archive());
    QTRY_COMPARE_WITH_TIMEOUT(m_service->events().size(), 3, childLimitMs);
    const QString folder = m_scene->packageFolders().value(0);
    const HostRecord host = HostRecord::read();
    QCOMPARE(host.arguments,
             QStringList({QStringLiteral("unzip.js"), backslashed(folder) + QStringLiteral("\\temp.zip"),
                          backslashed(folder)}));
    QCOMPARE(host.folder, folder);
    QCOMPARE(host.script.size(), 284);
    // Neither a complaint about the line nor one about the script.
    QCOMPARE(contentOf(HostRecord::fileName() + QStringLiteral(".said")), QByteArray());
}

/// Wine has the host and the shell's objects, but opens no archive as a folder; that is a package without an installer.
void UpdatePackageWindowsTest::hostUnpacks()
{
    m_scene->host().useSystems();
    m_service->download(archive());
    QTRY_COMPARE_WITH_TIMEOUT(m_service->events().size(), 3, childLimitMs);
    const QString folder = m_scene->packageFolders().value(0);
    QCOMPARE(m_service->events(), environment::isWine() ? failed : readied);
    QCOMPARE(namesIn(folder), environment::isWine() ? QStringList() : QStringList{installerName});
    QCOMPARE(DebugLines::take().last(),
             environment::isWine() ? QStringLiteral("UpdateInformation: no installer in the package")
                                   : QStringLiteral("UpdateInformation: exec/dmg ") + folder + u'/' + installerName);
}

/// How far the script comes there, told by itself: all its lines but the last run.
void UpdatePackageWindowsTest::hostRunsTheScript()
{
    const QDir folder(m_scene->folder(withLetters));
    stored::write(folder.filePath(QStringLiteral("temp.zip")), zipFile({{installerName, "the installer"}}));
    const QByteArray script(unzipScript);
    const QByteArray allButTheLastLine = script.left(script.lastIndexOf('\n') + 1);
    QCOMPARE(
        packagefile::saveText(allButTheLastLine
                                  + "WScript.Echo(WScript.Arguments.length + \" \" + in_zip_path + \" \" + (in_zip "
                                    "=== null) + \" \" + (out_folder === null));",
                              folder.filePath(QStringLiteral("unzip.js"))),
        packagefile::Outcome::Saved);
    QProcess host;
    host.setWorkingDirectory(folder.path());
    host.start(systemsHost(),
               {QStringLiteral("unzip.js"), QStringLiteral("temp.zip"), QDir::toNativeSeparators(folder.path())});
    QVERIFY(host.waitForFinished(childLimitMs));
    QCOMPARE(host.exitStatus(), QProcess::NormalExit);
    const QByteArray expected = environment::isWine() ? "2 temp.zip true false" : "2 temp.zip false false";
    const QByteArray said = host.readAllStandardOutput();
    QVERIFY2(said.contains(expected), said.constData());
}

QTEST_GUILESS_MAIN(UpdatePackageWindowsTest)
#include "updatepackage_windows_test.moc"
