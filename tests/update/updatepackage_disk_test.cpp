// Disks that are full or cannot be written: an error, no part of a package left, and nothing anywhere else. Folders
// that others cannot enter.

#include "debuglines.h"
#include "hostrecord.h"
#include "packagefixture.h"
#include "privatemounts.h"
#include "storedsettings.h"
#include "zipfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTest>

namespace {

const QString exePath = QStringLiteral("/package.exe");
const QString zipPath = QStringLiteral("/package.zip");
const QStringList failed{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("error")};
const QStringList readied{QStringLiteral("started"), QStringLiteral("finished"), QStringLiteral("ready")};
const QString openError = QStringLiteral("UpdateInformation: file open error");

} // namespace

class UpdatePackageDiskTest : public PackageFixture
{
    Q_OBJECT

private Q_SLOTS:
    void packageLargerThanTheDisk_data();
    void packageLargerThanTheDisk();
    void noRoomForTheScript();
    void noRoomToUnpack();
    void readOnlyTemporaryFolder();
    void noTemporaryFolder_data();
    void noTemporaryFolder();
    void roomAgain();
    void othersCannotEnterTheFolder();

private:
    /// Downloads, and waits for the error.
    bool failToBring(const QString &address);
};

bool UpdatePackageDiskTest::failToBring(const QString &address)
{
    m_service->download(address);
    if (!QTest::qWaitFor([this] { return m_service->events().size() >= failed.size(); }, 30'000))
        return false;
    m_service->settle();
    return m_service->events() == failed;
}

void UpdatePackageDiskTest::packageLargerThanTheDisk_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<qsizetype>("size");
    for (const QString &path : {exePath, zipPath, QStringLiteral("/package.dmg")}) {
        QTest::addRow("%s, much larger", qPrintable(path)) << path << qsizetype(4'000'000);
        QTest::addRow("%s, a byte larger", qPrintable(path)) << path << qsizetype(1'048'577);
    }
}

void UpdatePackageDiskTest::packageLargerThanTheDisk()
{
    QFETCH(const QString, path);
    QFETCH(const qsizetype, size);
    const privatemounts::Mount disk(m_scene->temporaryFolder(), "size=1m");
    if (!disk)
        QSKIP("mounting is not allowed here");
    QVERIFY(failToBring(m_scene->package(path, QByteArray(size, 'x'))));
    QCOMPARE(DebugLines::take().filter(QStringLiteral("read size")),
             QStringList{QStringLiteral("UpdateInformation: read size %1").arg(size)});
    QCOMPARE(m_scene->packageFolders().size(), 1);
    QCOMPARE(namesIn(m_scene->packageFolders().first()), QStringList());
    QCOMPARE(HostRecord::read().pid, 0);
    QCOMPARE(namesIn(m_scene->workFolder()), QStringList());
    // What has failed is not started.
    m_service->launch();
    m_service->settle();
    QCOMPARE(m_service->events(), failed + QStringList{QStringLiteral("error")});
}

void UpdatePackageDiskTest::noRoomForTheScript()
{
    // The package takes the disk to the last byte.
    const privatemounts::Mount disk(m_scene->temporaryFolder(), "size=64k");
    if (!disk)
        QSKIP("mounting is not allowed here");
    QVERIFY(failToBring(m_scene->package(zipPath, QByteArray(65'536, 'x'))));
    QCOMPARE(DebugLines::take().last(), openError);
    QCOMPARE(m_scene->packageFolders().size(), 1);
    QCOMPARE(namesIn(m_scene->packageFolders().first()), QStringList());
    QCOMPARE(HostRecord::read().pid, 0);
    QCOMPARE(namesIn(m_scene->workFolder()), QStringList());
}

void UpdatePackageDiskTest::noRoomToUnpack()
{
    // The host finds no room for the installer, which comes second.
    const privatemounts::Mount disk(m_scene->temporaryFolder(), "size=64k");
    if (!disk)
        QSKIP("mounting is not allowed here");
    const QByteArray filler(1'000'000, 'x');
    QVERIFY(failToBring(m_scene->package(
        zipPath, zipFile({{QStringLiteral("data.bin"), filler}, {QStringLiteral("setup.exe"), "the installer"}}))));
}

void UpdatePackageDiskTest::readOnlyTemporaryFolder()
{
    privatemounts::Mount disk(m_scene->temporaryFolder(), "size=1m");
    if (!disk)
        QSKIP("mounting is not allowed here");
    QVERIFY(disk.makeReadOnly());
    QVERIFY(failToBring(m_scene->package(exePath, "body")));
    QCOMPARE(namesIn(m_scene->temporaryFolder()), QStringList());
    QCOMPARE(namesIn(m_scene->workFolder()), QStringList());
    QCOMPARE(QDir::currentPath(), m_scene->workFolder());
}

void UpdatePackageDiskTest::noTemporaryFolder_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("absent") << QStringLiteral("absent");
    QTest::newRow("a plain file") << QStringLiteral("plain");
    QTest::newRow("below a plain file") << QStringLiteral("plain/folder");
}

void UpdatePackageDiskTest::noTemporaryFolder()
{
    QFETCH(const QString, name);
    const QString outside = m_scene->folder(QStringLiteral("outside"));
    stored::write(outside + QStringLiteral("/plain"), {});
    m_scene->useTemporaryFolder(outside + u'/' + name);
    QVERIFY(failToBring(m_scene->package(zipPath, zipFile({{QStringLiteral("setup.exe"), "the installer"}}))));
    QCOMPARE(namesIn(outside), QStringList{QStringLiteral("plain")});
    QCOMPARE(namesIn(QStringLiteral("/")).filter(QCoreApplication::applicationName()), QStringList());
    QCOMPARE(namesIn(m_scene->workFolder()), QStringList());
    QCOMPARE(QDir::currentPath(), m_scene->workFolder());
}

void UpdatePackageDiskTest::roomAgain()
{
    const QString address = m_scene->package(exePath, QByteArray(2'000'000, 'x'));
    {
        const privatemounts::Mount disk(m_scene->temporaryFolder(), "size=1m");
        if (!disk)
            QSKIP("mounting is not allowed here");
        QVERIFY(failToBring(address));
    }
    m_service->download(address);
    QTRY_COMPARE(m_service->events(), failed + readied);
}

/// Nobody may put another program in the installer's place.
void UpdatePackageDiskTest::othersCannotEnterTheFolder()
{
    m_service->download(m_scene->package(exePath, "an installer"));
    QTRY_COMPARE(m_service->events(), readied);
    const QFileInfo folder(m_scene->packageFolders().value(0));
    constexpr QFile::Permissions others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    QVERIFY(folder.isDir());
    QCOMPARE(folder.permissions() & others, QFile::Permissions());
}

int main(int argc, char *argv[])
{
    privatemounts::enter();
    QCoreApplication application(argc, argv);
    UpdatePackageDiskTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "updatepackage_disk_test.moc"
