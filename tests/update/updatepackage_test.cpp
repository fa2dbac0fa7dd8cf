// The way of a package from the server to its installer: folders, files, log lines, the script host and what it may do
// wrong, and everything that may come in between.

#include "debuglines.h"
#include "environment.h"
#include "filecontent.h"
#include "hostrecord.h"
#include "packagefixture.h"
#include "zipfile.h"

#include <QCryptographicHash>
#include <QDir>
#include <QRegularExpression>
#include <QTest>

namespace {

// 279 bytes: what the script host must find, to the letter but for the ends of its lines.
const QByteArray script = "var shellapp =  new ActiveXObject(\"shell.application\");\n"
                          "var in_zip_path = WScript.Arguments(0);\n"
                          "var out_folder_path = WScript.Arguments(1);\n"
                          "var in_zip = shellapp.NameSpace(in_zip_path);\n"
                          "var out_folder = shellapp.NameSpace(out_folder_path);\n"
                          "out_folder.CopyHere(in_zip.Items(), 0);";

const QString setupName = QStringLiteral("setup.exe");
const QString zipPath = QStringLiteral("/package.zip");
const QString exePath = QStringLiteral("/package.exe");

const QStringList readied{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("ready")};
const QStringList failed{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("error")};
const QStringList cancelled{QStringLiteral("started"), QStringLiteral("finished")};

const QString downloadPrefix = QStringLiteral("UpdateInformation: download ");
const QString folderPrefix = QStringLiteral("UpdateInformation: tempDir ");
const QString installerPrefix = QStringLiteral("UpdateInformation: exec/dmg ");
const QString crashLine = QStringLiteral("UpdateInformation: CrashExit");
const QString cancelLine = QStringLiteral("UpdateInformation: cancel download");

QByteArray bytes(qsizetype size)
{
    QByteArray result(size, Qt::Uninitialized);
    quint32 state = 1;
    for (char &byte : result)
        byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return result;
}

QByteArray simpleZip()
{
    return zipFile({{setupName, "the installer"}, {QStringLiteral("readme.txt"), "read me"}});
}

QString sizeLine(qsizetype size)
{
    return QStringLiteral("UpdateInformation: read size %1").arg(size);
}

/// The lines since the last time but for those of the progress, of which there are as many as the network gives.
QStringList takeLines()
{
    static const QRegularExpression progress(QStringLiteral("^UpdateInformation: ProgressBar \\d+$"));
    QStringList lines = DebugLines::take();
    lines.removeIf([](const QString &line) { return progress.match(line).hasMatch(); });
    return lines;
}

/// What is said of every download, up to where its kind shows.
QStringList firstLines(const QString &address, bool isExe, bool isDmg)
{
    const auto flag = [](bool value) { return value ? QStringLiteral("true") : QStringLiteral("false"); };
    return {downloadPrefix + address,
            QStringLiteral("UpdateInformation: isExe %1, isDmg %2").arg(flag(isExe), flag(isDmg))};
}

} // namespace

class UpdatePackageTest : public PackageFixture
{
    Q_OBJECT

private Q_SLOTS:
    void everySuffix_data();
    void everySuffix();
    void exe();
    void zip();
    void archiveAndScriptLieTogetherWhenTheHostBegins();
    void onlyTheEndingTellsTheKind();
    void anEncodedBodyIsSavedDecoded();
    void aLargePackageIsWhole();
    void folderWithBlanksAndLetters();
    void namesWithBlanksAndLetters();

    void firstInstallerIsTaken();
    void foldersAndSubFoldersDoNotCount();
    void upperCaseInstaller();
    void noInstaller();

    void exitCodeIsNotLookedAt();
    void hostCrashes();
    void hostIsMissing();
    void hostUnpacksNothing();
    void hostHangsAtTheEnd();
    void notAnArchive();

    void twoDownloads();
    void secondDownloadDuringTheFirst();
    void secondDownloadWhileUnpacking();
    void cancelWhileDownloading();
    void cancelWhileUnpacking();
    void cancelBeforeAndAfter();
    void endWhileDownloading();
    void afterAFailureTheNextSucceeds();

private:
    /// Downloads, and waits for an outcome.
    bool bring(const QString &address);

    /// The host's record, once it has begun.
    bool waitForHost();

    QString newestFolder() const { return m_scene->packageFolders().value(0); }
};

bool UpdatePackageTest::bring(const QString &address)
{
    const qsizetype before = m_service->events().size();
    const auto isOver = [&] {
        const QStringList events = m_service->events().mid(before);
        return events.contains(QStringLiteral("ready")) || events.contains(QStringLiteral("error"));
    };
    m_service->download(address);
    if (!QTest::qWaitFor(isOver, 30'000))
        return false;
    // One outcome, no more.
    m_service->settle();
    return true;
}

bool UpdatePackageTest::waitForHost()
{
    return QTest::qWaitFor([] { return HostRecord::read().pid != 0; }, 30'000);
}

// ---- Kinds of packages ----------------------------------------------------------------------------------------------

void UpdatePackageTest::everySuffix_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("fileName");

    const QString exe = QStringLiteral("temp.exe");
    const QString dmg = QStringLiteral("temp.dmg");
    const QString zip = QStringLiteral("temp.zip");
    const struct
    {
        const char *path;
        const QString &fileName;
    } rows[] = {
        {"/package.exe", exe},        {"/package.EXE", exe},    {"/package.Exe", exe},
        {"/package.eXe", exe},        {"/packageexe", exe},     {"/get?file=package.exe", exe},
        {"/package.zip#exe", exe},    {"/package.dmg", dmg},    {"/package.DMG", dmg},
        {"/package.Dmg", dmg},        {"/package.zip", zip},    {"/package.ZIP", zip},
        {"/package.Zip", zip},        {"/package", zip},        {"/package.exe?v=2", zip},
        {"/package.exe/", zip},       {"/package.msi", zip},    {"/package.exe.zip", zip},
        {"/package.dmg?to=zip", zip}, {"/package.exe%20", zip},
    };
    for (const auto &row : rows)
        QTest::newRow(row.path) << QString::fromLatin1(row.path) << row.fileName;
}

void UpdatePackageTest::everySuffix()
{
    QFETCH(const QString, path);
    QFETCH(const QString, fileName);
    const bool isExe = fileName.endsWith(QStringLiteral("exe"));
    const bool isDmg = fileName.endsWith(QStringLiteral("dmg"));
    const QByteArray body = simpleZip();
    // What stands after "#" stays with the client.
    m_scene->package(path.section(u'#', 0, 0), body);
    const QString address = m_scene->package(path, body);

    QVERIFY(bring(address));
    // A disk image goes the way of an archive, which is not there.
    QCOMPARE(m_service->events(), isDmg ? failed : readied);
    QCOMPARE(takeLines().mid(0, 2), firstLines(address, isExe, isDmg));
    QCOMPARE(m_scene->packageFolders().size(), 1);
    const QStringList unpacked{QStringLiteral("readme.txt"), setupName};
    QCOMPARE(namesIn(newestFolder()), isExe || isDmg ? QStringList{fileName} : unpacked);
    if (isExe || isDmg)
        QCOMPARE(contentOf(newestFolder() + u'/' + fileName), body);
    QCOMPARE(HostRecord::read().pid != 0, !isExe);
}

void UpdatePackageTest::exe()
{
    const QByteArray body = bytes(100'000);
    const QString address = m_scene->package(exePath, body);
    QVERIFY(bring(address));

    QCOMPARE(m_service->events(), readied);
    QCOMPARE(m_service->progress().last(), 100);
    const QString folder = newestFolder();
    QCOMPARE(takeLines(),
             firstLines(address, true, false)
                 + QStringList({folderPrefix + folder, sizeLine(body.size()),
                                QStringLiteral("UpdateInformation: exec ") + backslashed(folder)
                                    + QStringLiteral("\\temp.exe")}));
    QCOMPARE(namesIn(folder), QStringList{QStringLiteral("temp.exe")});
    QCOMPARE(contentOf(folder + QStringLiteral("/temp.exe")), body);
    QCOMPARE(QDir::currentPath(), folder);
    QCOMPARE(HostRecord::read().pid, 0);
    QCOMPARE(namesIn(m_scene->workFolder()), QStringList());

    m_service.reset();
    QVERIFY(QDir(folder).exists(QStringLiteral("temp.exe")));
}

void UpdatePackageTest::zip()
{
    const QByteArray body = simpleZip();
    const QString address = m_scene->package(zipPath, body);
    QVERIFY(bring(address));

    QCOMPARE(m_service->events(), readied);
    const QString folder = newestFolder();
    QCOMPARE(
        takeLines(),
        firstLines(address, false, false)
            + QStringList({folderPrefix + folder, sizeLine(body.size()), installerPrefix + folder + u'/' + setupName}));
    QCOMPARE(namesIn(folder), QStringList({QStringLiteral("readme.txt"), setupName}));
    QCOMPARE(contentOf(folder + u'/' + setupName), QByteArray("the installer"));
    QCOMPARE(QDir::currentPath(), folder);
    QCOMPARE(namesIn(m_scene->workFolder()), QStringList());

    m_service.reset();
    QCOMPARE(namesIn(folder), QStringList({QStringLiteral("readme.txt"), setupName}));
}

void UpdatePackageTest::archiveAndScriptLieTogetherWhenTheHostBegins()
{
    const QByteArray body = simpleZip();
    QVERIFY(bring(m_scene->package(zipPath, body)));

    const HostRecord host = HostRecord::read();
    const QString folder = newestFolder();
    QCOMPARE(host.arguments,
             QStringList({QStringLiteral("unzip.js"), backslashed(folder) + QStringLiteral("\\temp.zip"),
                          backslashed(folder)}));
    QCOMPARE(host.folder, folder);
    QCOMPARE(host.script.size(), 279 + 5 * (environment::lineEnd().size() - 1));
    QCOMPARE(host.script, QByteArray(script).replace("\n", environment::lineEnd()));
    QCOMPARE(host.files, QStringList({QStringLiteral("temp.zip"), QStringLiteral("unzip.js")}));
    QCOMPARE(host.archive, QCryptographicHash::hash(body, QCryptographicHash::Sha256));
}

void UpdatePackageTest::onlyTheEndingTellsTheKind()
{
    // An archive all the same, whatever the server calls it.
    QVERIFY(bring(m_scene->package(zipPath, simpleZip(),
                                   "Content-Type: application/x-msdownload\r\n"
                                   "Content-Disposition: attachment; filename=\"a.exe\"\r\n")));
    QCOMPARE(m_service->events(), readied);
    QVERIFY(HostRecord::read().pid != 0);
}

void UpdatePackageTest::anEncodedBodyIsSavedDecoded()
{
    const QByteArray body = bytes(100'000) + QByteArray(3'000'000, 'x');
    // The first four bytes are Qt's own.
    const QByteArray encoded = qCompress(body).mid(4);
    const QString address = m_scene->package(exePath, encoded, "Content-Encoding: deflate\r\n");
    QVERIFY(bring(address));
    QCOMPARE(m_service->events(), readied);
    QVERIFY(contentOf(newestFolder() + QStringLiteral("/temp.exe")) == body);
    QVERIFY(takeLines().contains(sizeLine(body.size())));
}

void UpdatePackageTest::aLargePackageIsWhole()
{
    // Neither a whole number of pieces nor of blocks.
    const QByteArray body = bytes(10 * 1024 * 1024 + 17);
    QVERIFY(bring(m_scene->package(exePath, body)));
    QCOMPARE(m_service->events(), readied);
    QVERIFY(contentOf(newestFolder() + QStringLiteral("/temp.exe")) == body);
}

void UpdatePackageTest::folderWithBlanksAndLetters()
{
    m_scene->useTemporaryFolder(m_scene->folder(QStringLiteral("一時 フォルダー (x86) & 'more'")));
    QVERIFY(bring(m_scene->package(zipPath, simpleZip())));
    QCOMPARE(m_service->events(), readied);
    const QString folder = newestFolder();
    QVERIFY(folder.contains(QStringLiteral("一時 フォルダー (x86) & 'more'")));
    QCOMPARE(HostRecord::read().arguments.value(2), backslashed(folder));
    QVERIFY(takeLines().contains(installerPrefix + folder + u'/' + setupName));
    QCOMPARE(QDir::currentPath(), folder);
}

void UpdatePackageTest::namesWithBlanksAndLetters()
{
    const QString name = QStringLiteral("KD-MX セットアップ (日本語).exe");
    const QString notes = QStringLiteral("お読みください 中文 é.txt");
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{notes, "read me"}, {name, "the installer"}}))));
    QCOMPARE(m_service->events(), readied);
    const QString folder = newestFolder();
    QVERIFY(takeLines().contains(installerPrefix + folder + u'/' + name));
    QCOMPARE(contentOf(folder + u'/' + name), QByteArray("the installer"));
    QCOMPARE(contentOf(folder + u'/' + notes), QByteArray("read me"));
}

// ---- What is looked for ---------------------------------------------------------------------------------------------

void UpdatePackageTest::firstInstallerIsTaken()
{
    QList<ZipEntry> entries;
    for (const char letter : {'m', 'c', 'z', 'a', 'k'})
        entries.append({QString(QLatin1Char(letter)) + QStringLiteral(".exe"), "an installer"});
    QVERIFY(bring(m_scene->package(zipPath, zipFile(entries))));
    QCOMPARE(m_service->events(), readied);
    const QDir folder(newestFolder());
    const QFileInfoList found = folder.entryInfoList({QStringLiteral("*.exe")}, QDir::Files, QDir::Unsorted);
    QCOMPARE(found.size(), 5);
    QCOMPARE(takeLines().last(), installerPrefix + found.first().absoluteFilePath());
}

void UpdatePackageTest::foldersAndSubFoldersDoNotCount()
{
    QVERIFY(bring(m_scene->package(zipPath,
                                   zipFile({{QStringLiteral("first.exe/"), {}},
                                            {QStringLiteral("first.exe/inner.exe"), "another"},
                                            {QStringLiteral("sub/other.exe"), "another"},
                                            {QStringLiteral("setup.exe.txt"), "text"},
                                            {QStringLiteral("setupexe"), "text"},
                                            {setupName, "the installer"}}))));
    QCOMPARE(m_service->events(), readied);
    QCOMPARE(takeLines().last(), installerPrefix + newestFolder() + u'/' + setupName);
}

void UpdatePackageTest::upperCaseInstaller()
{
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{QStringLiteral("SETUP.EXE"), "the installer"}}))));
    QCOMPARE(m_service->events(), readied);
    QCOMPARE(takeLines().last(), installerPrefix + newestFolder() + QStringLiteral("/SETUP.EXE"));
}

void UpdatePackageTest::noInstaller()
{
    QVERIFY(bring(m_scene->package(zipPath,
                                   zipFile({{QStringLiteral("setup.msi"), "another"},
                                            {QStringLiteral("first.exe/"), {}},
                                            {QStringLiteral("sub/other.exe"), "another"}}))));
    QCOMPARE(m_service->events(), failed);
    QVERIFY(takeLines().filter(installerPrefix).isEmpty());
    QCOMPARE(namesIn(newestFolder()),
             QStringList({QStringLiteral("first.exe"), QStringLiteral("setup.msi"), QStringLiteral("sub")}));
}

// ---- What the script host may do ------------------------------------------------------------------------------------

void UpdatePackageTest::exitCodeIsNotLookedAt()
{
    m_scene->host().useStandIn("fail");
    QVERIFY(bring(m_scene->package(zipPath, simpleZip())));
    QCOMPARE(m_service->events(), readied);
}

void UpdatePackageTest::hostCrashes()
{
    m_scene->host().useStandIn("crash");
    const QByteArray body = simpleZip();
    const QString address = m_scene->package(zipPath, body);
    QVERIFY(bring(address));
    QCOMPARE(m_service->events(), failed);
    QCOMPARE(takeLines(),
             firstLines(address, false, false)
                 + QStringList({folderPrefix + newestFolder(), sizeLine(body.size()), crashLine}));
    QCOMPARE(namesIn(newestFolder()), QStringList());
}

void UpdatePackageTest::hostIsMissing()
{
    m_scene->host().useNone();
    QVERIFY(bring(m_scene->package(zipPath, simpleZip())));
    QCOMPARE(m_service->events(), failed);
    QCOMPARE(m_scene->packageFolders().size(), 1);
    QCOMPARE(namesIn(newestFolder()), QStringList());
}

void UpdatePackageTest::hostUnpacksNothing()
{
    m_scene->host().useStandIn("nothing");
    QVERIFY(bring(m_scene->package(zipPath, simpleZip())));
    QCOMPARE(m_service->events(), failed);
    QVERIFY(takeLines().filter(crashLine).isEmpty());
    QCOMPARE(namesIn(newestFolder()), QStringList());
}

void UpdatePackageTest::hostHangsAtTheEnd()
{
    m_scene->host().useStandIn("hang");
    m_service->download(m_scene->package(zipPath, simpleZip()));
    QVERIFY(waitForHost());
    const qint64 host = HostRecord::read().pid;
    m_service->settle();
    QCOMPARE(m_service->events(), cancelled);
    QVERIFY(isAlive(host));

    m_service.reset();
    QVERIFY(!isAlive(host));
    QVERIFY(takeLines().filter(crashLine).isEmpty());
    QCOMPARE(m_scene->packageFolders().size(), 1);
}

void UpdatePackageTest::notAnArchive()
{
    QVERIFY(bring(m_scene->package(zipPath, "<html>Please log in.</html>")));
    QCOMPARE(m_service->events(), failed);
    QCOMPARE(namesIn(newestFolder()), QStringList());
}

// ---- One thing after another, and in between ------------------------------------------------------------------------

void UpdatePackageTest::twoDownloads()
{
    QVERIFY(bring(m_scene->package(exePath, "first")));
    const QString first = newestFolder();
    QVERIFY(bring(m_scene->package(exePath, "second")));
    QCOMPARE(m_service->events(), readied + readied);

    QStringList folders = m_scene->packageFolders();
    QCOMPARE(folders.size(), 2);
    QVERIFY(folders.removeOne(first));
    QCOMPARE(contentOf(first + QStringLiteral("/temp.exe")), QByteArray("first"));
    QCOMPARE(contentOf(folders.first() + QStringLiteral("/temp.exe")), QByteArray("second"));
    QCOMPARE(QDir::currentPath(), folders.first());
}

void UpdatePackageTest::secondDownloadDuringTheFirst()
{
    m_service->download(m_scene->slowPackage(QStringLiteral("/slow.exe"), bytes(1'000'000)));
    QTRY_VERIFY(m_scene->connections() == 1);
    QVERIFY(bring(m_scene->package(exePath, "second")));
    QCOMPARE(m_service->events(), QStringList{QStringLiteral("started")} + readied);
    QTRY_COMPARE(m_scene->connections(), 0);
    QCOMPARE(m_scene->packageFolders().size(), 1);
    QCOMPARE(contentOf(newestFolder() + QStringLiteral("/temp.exe")), QByteArray("second"));
    QVERIFY(takeLines().filter(QStringLiteral("error")).isEmpty());
}

void UpdatePackageTest::secondDownloadWhileUnpacking()
{
    m_scene->host().useStandIn("wait");
    m_service->download(m_scene->package(zipPath, simpleZip()));
    QVERIFY(waitForHost());
    const qint64 host = HostRecord::read().pid;
    const QString first = newestFolder();

    QVERIFY(bring(m_scene->package(exePath, "second")));
    // It was killed, and goes when the system gets to it.
    QTRY_VERIFY(!isAlive(host));
    m_scene->releaseHost();
    m_service->settle();
    QCOMPARE(m_service->events(), cancelled + readied);
    const QStringList lines = takeLines();
    QVERIFY(lines.filter(crashLine).isEmpty());
    QVERIFY(lines.filter(installerPrefix).isEmpty());
    QVERIFY(!QDir(first).exists(setupName));
    QCOMPARE(m_scene->packageFolders().size(), 2);
}

void UpdatePackageTest::cancelWhileDownloading()
{
    m_service->download(m_scene->slowPackage(exePath, bytes(1'000'000)));
    QTRY_VERIFY(!m_service->progress().isEmpty());
    m_service->cancel();
    QTRY_COMPARE(m_service->events(), cancelled);
    m_service->settle();
    QCOMPARE(m_service->events(), cancelled);
    QCOMPARE(m_scene->packageFolders(), QStringList());
    QCOMPARE(
        takeLines().mid(2),
        QStringList({cancelLine, QStringLiteral("UpdateInformation: file download error"),
                     QStringLiteral("Operation canceled"), QStringLiteral("UpdateInformation: file download abort"),
                     QStringLiteral("Operation canceled")}));
}

void UpdatePackageTest::cancelWhileUnpacking()
{
    // There is nothing left to cancel: the window with the button is gone.
    m_scene->host().useStandIn("wait");
    m_service->download(m_scene->package(zipPath, simpleZip()));
    QVERIFY(waitForHost());
    m_service->cancel();
    m_service->settle();
    QVERIFY(isAlive(HostRecord::read().pid));
    QCOMPARE(m_service->events(), cancelled);
    QCOMPARE(takeLines().last(), cancelLine);

    m_scene->releaseHost();
    QTRY_COMPARE(m_service->events(), readied);
    QVERIFY(QDir(newestFolder()).exists(setupName));
}

void UpdatePackageTest::cancelBeforeAndAfter()
{
    m_service->cancel();
    QVERIFY(bring(m_scene->package(exePath, "body")));
    m_service->cancel();
    m_service->settle();
    QCOMPARE(m_service->events(), readied);
    const QStringList lines = takeLines();
    QCOMPARE(lines.first(), cancelLine);
    QCOMPARE(lines.last(), cancelLine);
}

void UpdatePackageTest::endWhileDownloading()
{
    m_service->download(m_scene->slowPackage(exePath, bytes(1'000'000)));
    QTRY_VERIFY(!m_service->progress().isEmpty());
    m_service.reset();
    // The server hears of it by a reset, which Wine does not report.
    if (!environment::isWine())
        QTRY_COMPARE(m_scene->connections(), 0);
    QCOMPARE(m_scene->packageFolders(), QStringList());
    QVERIFY(takeLines().filter(QStringLiteral("error")).isEmpty());
}

void UpdatePackageTest::afterAFailureTheNextSucceeds()
{
    for (const QByteArray mode : {"crash", "nothing"}) {
        m_scene->host().useStandIn(mode);
        QVERIFY(bring(m_scene->package(zipPath, simpleZip())));
    }
    m_scene->host().useNone();
    QVERIFY(bring(m_scene->package(zipPath, simpleZip())));
    m_scene->host().useStandIn();
    QVERIFY(bring(m_scene->package(zipPath, simpleZip())));
    QCOMPARE(m_service->events(), failed + failed + failed + readied);
    QCOMPARE(m_scene->packageFolders().size(), 4);
}

QTEST_GUILESS_MAIN(UpdatePackageTest)
#include "updatepackage_test.moc"
