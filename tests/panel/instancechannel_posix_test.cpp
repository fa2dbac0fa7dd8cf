#include "instancechannel.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString id = QStringLiteral("kdmx-0123456789abcdef0123");
constexpr uid_t otherUser = 65534;

void makeFolder(const QString &path, mode_t mode)
{
    QVERIFY(QDir().mkpath(path));
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), mode), 0);
}

void makeFile(const QString &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

bool isPrivateFolder(const QString &path)
{
    struct stat info = {};
    if (::lstat(QFile::encodeName(path).constData(), &info) != 0)
        return false;
    return S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() && (info.st_mode & 0777) == 0700;
}

QString userName(const QString &prefix)
{
    return prefix + QString::number(::geteuid());
}

QString folderOf(const InstanceChannel &channel)
{
    return QFileInfo(channel.serverName).path();
}

} // namespace

class InstanceChannelPosixTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();
    void namesFilesInTheRuntimeFolder();
    void passesOverRuntimeFolder_data();
    void passesOverRuntimeFolder();
    void passesOverRuntimeFolderOfOthers();
    void makesTemporaryFolder();
    void passesOverTemporaryFolder_data();
    void passesOverTemporaryFolder();
    void passesOverTemporaryFolderOfOthers();
    void pathStaysShort();
    void saysWhatItTried();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QString lastResort() const { return userName(QStringLiteral("/tmp/kdmx-")); }
    bool hasSystemRuntimeFolder() const { return isPrivateFolder(userName(QStringLiteral("/run/user/"))); }
    void expectFallback(const QString &folder);
    void useLongTemporaryFolder();

    std::unique_ptr<QTemporaryDir> m_folder;
    bool m_lastResortWasThere = false;
};

void InstanceChannelPosixTest::initTestCase()
{
    m_lastResortWasThere = QFile::exists(lastResort());
}

void InstanceChannelPosixTest::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    m_folder = std::make_unique<QTemporaryDir>(QStringLiteral("/tmp/kdmxt-XXXXXX"));
    QVERIFY(m_folder->isValid());
    makeFolder(path(QStringLiteral("tmp")), 01777);
    qputenv("TMPDIR", QFile::encodeName(path(QStringLiteral("tmp"))));
    qputenv("XDG_RUNTIME_DIR", QByteArray());
}

void InstanceChannelPosixTest::cleanupTestCase()
{
    if (!m_lastResortWasThere)
        QDir().rmdir(lastResort());
}

void InstanceChannelPosixTest::expectFallback(const QString &folder)
{
    const InstanceChannel channel = instanceChannel(id);
    QCOMPARE(folderOf(channel), hasSystemRuntimeFolder() ? userName(QStringLiteral("/run/user/")) : folder);
    QCOMPARE(channel.errorText, QString());
    QVERIFY(isPrivateFolder(folderOf(channel)));
}

void InstanceChannelPosixTest::namesFilesInTheRuntimeFolder()
{
    makeFolder(path(QStringLiteral("run")), 0700);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(path(QStringLiteral("run/"))));

    const InstanceChannel channel = instanceChannel(id);
    QCOMPARE(channel.lockName, path(QStringLiteral("run/")) + id + QStringLiteral(".lock"));
    QCOMPARE(channel.serverName, path(QStringLiteral("run/")) + id + QStringLiteral(".socket"));
    QCOMPARE(channel.errorText, QString());
    QVERIFY(QDir(path(QStringLiteral("run"))).isEmpty());
}

void InstanceChannelPosixTest::passesOverRuntimeFolder_data()
{
    QTest::addColumn<QString>("value");

    QTest::newRow("unset") << QString();
    QTest::newRow("missing") << QStringLiteral("%1/missing");
    QTest::newRow("file") << QStringLiteral("%1/file");
    QTest::newRow("symbolic link") << QStringLiteral("%1/link");
    QTest::newRow("symbolic link with a slash") << QStringLiteral("%1/link/");
    QTest::newRow("open to others") << QStringLiteral("%1/open");
    QTest::newRow("relative") << QStringLiteral("run");
    QTest::newRow("too long") << QStringLiteral("%1/") + QString(60, u'x');
}

void InstanceChannelPosixTest::passesOverRuntimeFolder()
{
    QFETCH(QString, value);
    makeFolder(path(QStringLiteral("run")), 0700);
    makeFolder(path(QStringLiteral("open")), 0750);
    makeFolder(path(QString(60, u'x')), 0700);
    makeFile(path(QStringLiteral("file")));
    QVERIFY(QFile::link(path(QStringLiteral("run")), path(QStringLiteral("link"))));

    const QString previous = QDir::currentPath();
    QDir::setCurrent(m_folder->path());
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(value.replace(QStringLiteral("%1"), m_folder->path())));
    expectFallback(path(QStringLiteral("tmp")) + userName(QStringLiteral("/kdmx-")));
    QDir::setCurrent(previous);
}

void InstanceChannelPosixTest::passesOverRuntimeFolderOfOthers()
{
    if (::geteuid() != 0)
        QSKIP("Only root can make a folder that belongs to somebody else.");

    makeFolder(path(QStringLiteral("run")), 0700);
    QCOMPARE(::chown(QFile::encodeName(path(QStringLiteral("run"))).constData(), otherUser, otherUser), 0);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(path(QStringLiteral("run"))));
    expectFallback(path(QStringLiteral("tmp")) + userName(QStringLiteral("/kdmx-")));
}

void InstanceChannelPosixTest::makesTemporaryFolder()
{
    const QString expected = path(QStringLiteral("tmp")) + userName(QStringLiteral("/kdmx-"));
    expectFallback(expected);
    expectFallback(expected);
}

void InstanceChannelPosixTest::passesOverTemporaryFolder_data()
{
    QTest::addColumn<QString>("obstacle");

    QTest::newRow("open to others") << QStringLiteral("open");
    QTest::newRow("file") << QStringLiteral("file");
    QTest::newRow("symbolic link") << QStringLiteral("link");
    QTest::newRow("missing parent") << QStringLiteral("missing");
    QTest::newRow("too long") << QStringLiteral("long");
}

void InstanceChannelPosixTest::useLongTemporaryFolder()
{
    const QString folder = path(QString(60, u'x'));
    makeFolder(folder, 01777);
    qputenv("TMPDIR", QFile::encodeName(folder));
}

void InstanceChannelPosixTest::passesOverTemporaryFolder()
{
    QFETCH(QString, obstacle);
    const QString usual = path(QStringLiteral("tmp")) + userName(QStringLiteral("/kdmx-"));
    makeFolder(path(QStringLiteral("run")), 0700);
    if (obstacle == QStringLiteral("open"))
        makeFolder(usual, 0777);
    else if (obstacle == QStringLiteral("file"))
        makeFile(usual);
    else if (obstacle == QStringLiteral("link"))
        QVERIFY(QFile::link(path(QStringLiteral("run")), usual));
    else if (obstacle == QStringLiteral("missing"))
        qputenv("TMPDIR", QFile::encodeName(path(QStringLiteral("missing"))));
    else
        useLongTemporaryFolder();
    expectFallback(lastResort());
}

void InstanceChannelPosixTest::passesOverTemporaryFolderOfOthers()
{
    if (::geteuid() != 0)
        QSKIP("Only root can make a folder that belongs to somebody else.");

    const QString usual = path(QStringLiteral("tmp")) + userName(QStringLiteral("/kdmx-"));
    makeFolder(usual, 0700);
    QCOMPARE(::chown(QFile::encodeName(usual).constData(), otherUser, otherUser), 0);
    expectFallback(lastResort());
}

void InstanceChannelPosixTest::pathStaysShort()
{
    makeFolder(path(QStringLiteral("run")), 0700);
    qsizetype longest = 0;
    for (int length = 1; length < 80; ++length) {
        const QString folder = path(QStringLiteral("run/")) + QString(length, u'x');
        makeFolder(folder, 0700);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder));
        longest = qMax(longest, instanceChannel(id).serverName.size());
    }
    QCOMPARE(longest, 99);
}

void InstanceChannelPosixTest::saysWhatItTried()
{
    const InstanceChannel channel = instanceChannel(QString(120, u'x'));
    QVERIFY(channel.lockName.isEmpty());
    QVERIFY(channel.serverName.isEmpty());
    QVERIFY2(channel.errorText.contains(lastResort()), qUtf8Printable(channel.errorText));
}

QTEST_APPLESS_MAIN(InstanceChannelPosixTest)

#include "instancechannel_posix_test.moc"
