// Files are written whole or not at all, whatever the disk does. By means of Linux: mounts, /dev/full, limits.

#include "packagefile.h"

#include "packagebody.h"
#include "packagescene.h"
#include "privatemounts.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <memory>

#include <sys/resource.h>
#include <unistd.h>

using packagefile::Outcome;

Q_DECLARE_METATYPE(packagefile::Outcome)

namespace {

/// No file of this process grows beyond the limit while the object lives.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t limit)
        : m_formerHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_former);
        const rlimit lower{limit, m_former.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lower);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_former);
        std::signal(SIGXFSZ, m_formerHandler);
    }
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

private:
    void (*m_formerHandler)(int);
    rlimit m_former = {};
};

/// Closes the descriptor that this process has of a file, behind the back of the code that opened it.
bool closeDescriptorOf(const QString &fileName)
{
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    const QStringList numbers = descriptors.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    const auto isIts = [&](const QString &number) {
        return QFile::symLinkTarget(descriptors.filePath(number)) == fileName;
    };
    const auto found = std::find_if(numbers.begin(), numbers.end(), isIts);
    return found != numbers.end() && close(found->toInt()) == 0;
}

} // namespace

class PackageFileDiskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void readOnlyDisk();
    void fullDevice_data();
    void fullDevice();
    void fullDisk_data();
    void fullDisk();
    void limitedSize_data();
    void limitedSize();
    void descriptorFails_data();
    void descriptorFails();
    void textThatCannotBeWritten();

private:
    QString path() const { return m_folder->filePath(QStringLiteral("temp.exe")); }

    static Outcome save(const QByteArray &content, const QString &fileName)
    {
        PackageBody body(content, content.size());
        return packagefile::save(body, fileName);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void PackageFileDiskTest::readOnlyDisk()
{
    privatemounts::Mount disk(m_folder->path(), "size=1m");
    if (!disk)
        QSKIP("mounting is not allowed here");
    QVERIFY(disk.makeReadOnly());
    QCOMPARE(save("a body", path()), Outcome::NotOpened);
}

void PackageFileDiskTest::fullDevice_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::newRow("shows at the flush") << qsizetype(279);
    QTest::newRow("shows at the write") << 2 * mebibyte;
}

void PackageFileDiskTest::fullDevice()
{
    QFETCH(const qsizetype, size);
    // A link, for what cannot be written is removed.
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), path()));
    QCOMPARE(save(patternOf(size), path()), Outcome::NotWritten);
    QCOMPARE(namesIn(m_folder->path()), QStringList());
    QVERIFY(QFile::exists(QStringLiteral("/dev/full")));
}

void PackageFileDiskTest::fullDisk_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<Outcome>("outcome");
    QTest::newRow("just fits") << mebibyte << Outcome::Saved;
    QTest::newRow("one byte too many") << mebibyte + 1 << Outcome::NotWritten;
    QTest::newRow("far too large") << 5 * mebibyte << Outcome::NotWritten;
}

void PackageFileDiskTest::fullDisk()
{
    QFETCH(const qsizetype, size);
    QFETCH(const Outcome, outcome);
    const privatemounts::Mount disk(m_folder->path(), "size=1m");
    if (!disk)
        QSKIP("mounting is not allowed here");
    QCOMPARE(save(patternOf(size), path()), outcome);
    QCOMPARE(QFile::exists(path()), outcome == Outcome::Saved);
}

void PackageFileDiskTest::limitedSize_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<qint64>("limit");
    QTest::newRow("short write") << 2 * mebibyte << qint64(700'000);
    QTest::newRow("second piece") << 2 * mebibyte << qint64(packagePiece);
    QTest::newRow("flush") << qsizetype(10'000) << qint64(5'000);
}

void PackageFileDiskTest::limitedSize()
{
    QFETCH(const qsizetype, size);
    QFETCH(const qint64, limit);
    Outcome outcome = Outcome::Saved;
    {
        const FileSizeLimit sizeLimit(static_cast<rlim_t>(limit));
        outcome = save(patternOf(size), path());
    }
    QCOMPARE(outcome, Outcome::NotWritten);
    QVERIFY(!QFile::exists(path()));
}

void PackageFileDiskTest::descriptorFails_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::newRow("flush and close") << qsizetype(279);
    // What is larger than the buffer of a file has been written by then.
    QTest::newRow("close alone") << mebibyte;
}

void PackageFileDiskTest::descriptorFails()
{
    QFETCH(const qsizetype, size);
    PackageBody body(patternOf(size), size);
    bool isClosed = false;
    body.atEnd = [&] { isClosed = isClosed || closeDescriptorOf(path()); };
    QCOMPARE(packagefile::save(body, path()), Outcome::NotWritten);
    QVERIFY(isClosed);
    QVERIFY(!QFile::exists(path()));
}

void PackageFileDiskTest::textThatCannotBeWritten()
{
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), path()));
    QCOMPARE(packagefile::saveText("a text", path()), Outcome::NotWritten);
    QCOMPARE(namesIn(m_folder->path()), QStringList());
}

int main(int argc, char *argv[])
{
    privatemounts::enter();
    QCoreApplication application(argc, argv);
    PackageFileDiskTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "packagefile_disk_test.moc"
