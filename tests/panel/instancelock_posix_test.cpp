// The lock as a file.

#include "instancelock.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using Result = InstanceLock::Result;

class InstanceLockPosixTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void leavesTheFile();
    void programsThatItStartsDoNotHoldIt();
    void oldFilesDoNotMatter_data();
    void oldFilesDoNotMatter();
    void askersDoNotDelayForLong();
    void fails_data();
    void fails();

private:
    QString lockName() const { return m_folder->filePath(QStringLiteral("test.lock")); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void InstanceLockPosixTest::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void InstanceLockPosixTest::leavesTheFile()
{
    {
        InstanceLock lock(lockName());
        QVERIFY(!QFile::exists(lockName()));
        QVERIFY(lock.isFree());
        QVERIFY(!QFile::exists(lockName()));
        QCOMPARE(lock.tryLock(), Result::Locked);
    }
    struct stat info = {};
    QCOMPARE(::lstat(QFile::encodeName(lockName()).constData(), &info), 0);
    QCOMPARE(info.st_mode & 0777U, 0600U);
}

// A web browser, for example, which lives on.
void InstanceLockPosixTest::programsThatItStartsDoNotHoldIt()
{
    QProcess program;
    {
        InstanceLock lock(lockName());
        QCOMPARE(lock.tryLock(), Result::Locked);
        program.start(QStringLiteral("cat"), QStringList());
        QVERIFY(program.waitForStarted());
    }
    QVERIFY(InstanceLock(lockName()).isFree());
    program.closeWriteChannel();
    QVERIFY(program.waitForFinished());
}

void InstanceLockPosixTest::oldFilesDoNotMatter_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("dead process") << QByteArray("4194303\npanel\nhost\n");
    QTest::newRow("garbage") << QByteArray(100000, '\xa5');
}

void InstanceLockPosixTest::oldFilesDoNotMatter()
{
    QFETCH(QByteArray, content);
    QFile file(lockName());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
    file.close();

    InstanceLock lock(lockName());
    QVERIFY(lock.isFree());
    QCOMPARE(lock.tryLock(), Result::Locked);
}

void InstanceLockPosixTest::askersDoNotDelayForLong()
{
    const int file = ::open(QFile::encodeName(lockName()).constData(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    QVERIFY(file >= 0);
    const int shared = ::flock(file, LOCK_SH | LOCK_NB);

    InstanceLock lock(lockName());
    QElapsedTimer clock;
    clock.start();
    const Result whileShared = lock.tryLock();
    const qint64 elapsed = clock.elapsed();
    ::close(file);

    QCOMPARE(shared, 0);
    QCOMPARE(whileShared, Result::HeldByOther);
    // Far less than an asker that hangs would hold it.
    QVERIFY2(elapsed < 15000, qPrintable(QString::number(elapsed)));
    QCOMPARE(lock.tryLock(), Result::Locked);
}

void InstanceLockPosixTest::fails_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("missing folder") << QStringLiteral("missing/test.lock");
    QTest::newRow("folder") << QStringLiteral("folder");
    QTest::newRow("symbolic link") << QStringLiteral("link");
}

void InstanceLockPosixTest::fails()
{
    QFETCH(QString, name);
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("folder")));
    QVERIFY(QFile::link(m_folder->filePath(QStringLiteral("target")), m_folder->filePath(QStringLiteral("link"))));

    InstanceLock lock(m_folder->filePath(name));
    QCOMPARE(lock.tryLock(), Result::Failed);
    QVERIFY(!lock.errorText().isEmpty());
    QVERIFY(!QFile::exists(m_folder->filePath(QStringLiteral("target"))));
}

QTEST_APPLESS_MAIN(InstanceLockPosixTest)

#include "instancelock_posix_test.moc"
