// The start of an installer, and that it is on its own from then on.

#include "filecontent.h"
#include "installerowner.h"
#include "installerprogram.h"
#include "packagefixture.h"
#include "storedsettings.h"
#include "zipfile.h"

#include <QDir>
#include <QTest>

namespace {

const QString exePath = QStringLiteral("/package.exe");
const QString zipPath = QStringLiteral("/package.zip");
const QString setupName = QStringLiteral("setup.exe");
const QStringList readied{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("ready")};
const QStringList failed{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("error")};
const QStringList error{QStringLiteral("error")};

constexpr int childLimitMs = 30'000;

} // namespace

class UpdatePackageLaunchTest : public PackageFixture
{
    Q_OBJECT

private Q_SLOTS:
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

private:
    bool bring(const QString &address, const QStringList &outcome);
    QString newestFolder() const { return m_scene->packageFolders().value(0); }
    QString marks() const { return m_scene->folder(QStringLiteral("marks")); }
    QString file(const QString &name) const { return marks() + u'/' + name; }
    QStringList note() const { return installerprogram::note(marks()); }

    /// An archive with an installer.
    QByteArray archive(const QString &name = setupName, bool isLongLived = false) const
    {
        return zipFile({{name, installerprogram::content(marks(), isLongLived), true}});
    }
};

bool UpdatePackageLaunchTest::bring(const QString &address, const QStringList &outcome)
{
    m_service->download(address);
    if (!QTest::qWaitFor([&] { return m_service->events() == outcome; }, childLimitMs))
        return false;
    m_service->settle();
    return m_service->events() == outcome;
}

void UpdatePackageLaunchTest::installerOfAnArchive()
{
    QVERIFY(bring(m_scene->package(zipPath, archive()), readied));
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
    QVERIFY(bring(m_scene->package(zipPath, archive(name)), readied));
    m_service->launch();
    const QString folder = newestFolder();
    QCOMPARE(note(), QStringList({folder + u'/' + name, QStringLiteral("0"), folder}));
}

void UpdatePackageLaunchTest::startedTwice()
{
    QVERIFY(bring(m_scene->package(zipPath, archive()), readied));
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
    QTest::newRow("an EXE that is none here") << exePath << QByteArray("an installer for Windows");
    for (const installerprogram::Unfit &unfit : installerprogram::unfit(setupName))
        QTest::newRow(unfit.why) << zipPath << zipFile({unfit.entry});
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
    QVERIFY(bring(m_scene->package(zipPath, archive()), readied));
    QVERIFY(bring(m_scene->package(zipPath, zipFile({{QStringLiteral("readme.txt"), "read me"}})), readied + failed));
    m_service->launch();
    m_service->settle();
    QCOMPARE(m_service->events(), readied + failed + error);
    QVERIFY(!QFile::exists(file(QStringLiteral("begun"))));
}

void UpdatePackageLaunchTest::duringADownloadNothingIsStarted()
{
    QVERIFY(bring(m_scene->package(zipPath, archive()), readied));
    m_service->download(m_scene->slowPackage(exePath, QByteArray(1'000'000, 'x')));
    m_service->launch();
    m_service->settle();
    QCOMPARE(m_service->events(), readied + QStringList{QStringLiteral("started")} + error);
    QVERIFY(!QFile::exists(file(QStringLiteral("begun"))));
}

// ---- On its own -----------------------------------------------------------------------------------------------------

void UpdatePackageLaunchTest::goesOnAfterTheService()
{
    QVERIFY(bring(m_scene->package(zipPath, archive(setupName, true)), readied));
    m_service->launch();
    QVERIFY(!note().isEmpty());
    m_service.reset();
    QVERIFY(!QFile::exists(file(QStringLiteral("done"))));
    stored::write(file(QStringLiteral("go")), {});
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file(QStringLiteral("done"))), childLimitMs);
}

void UpdatePackageLaunchTest::goesOnAfterTheProgram_data()
{
    QTest::addColumn<bool>("isKilled");
    QTest::newRow("the program ends") << false;
    QTest::newRow("the program is killed") << true;
}

void UpdatePackageLaunchTest::goesOnAfterTheProgram()
{
    QFETCH(const bool, isKilled);
    InstallerOwner owner(m_scene->package(zipPath, archive(setupName, true)), isKilled);
    const QString installer = owner.installer();
    QVERIFY(!installer.isEmpty());
    owner.launch();
    QCOMPARE(note().value(0), installer);
    QVERIFY(owner.end());
    QVERIFY(!QFile::exists(file(QStringLiteral("done"))));
    stored::write(file(QStringLiteral("go")), {});
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file(QStringLiteral("done"))), childLimitMs);
}

QTEST_GUILESS_MAIN(UpdatePackageLaunchTest)
#include "updatepackage_launch_test.moc"
