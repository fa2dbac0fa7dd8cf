// Files are written whole or not at all, whatever the body, the disk or the thread do.

#include "packagefile.h"

#include "packagescene.h"
#include "privatemounts.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <memory>

#include <sys/resource.h>
#include <unistd.h>

using packagefile::Outcome;

Q_DECLARE_METATYPE(packagefile::Outcome)

namespace {

constexpr qsizetype mebibyte = 1'048'576;

QByteArray bytes(qsizetype size)
{
    QByteArray result(size, Qt::Uninitialized);
    for (qsizetype index = 0; index < size; ++index)
        result[index] = static_cast<char>(index * 7 + index / 256);
    return result;
}

/// A body that says it holds more than it gives, and notes how it is read.
class Body : public QIODevice
{
public:
    Body(const QByteArray &content, qint64 promised)
        : m_content(content)
        , m_promised(promised)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override
    {
        if (m_position == m_promised && atEnd)
            atEnd();
        return m_promised - m_position;
    }

    std::function<void()> atEnd; ///< called when all that was promised has been given
    qint64 largestRead = 0;
    bool failsAtTheEnd = false; ///< tells an error where there is nothing left, not just nothing

protected:
    qint64 readData(char *data, qint64 wanted) override
    {
        largestRead = std::max(largestRead, wanted);
        const qint64 size = std::min(wanted, m_content.size() - m_position);
        if (size == 0 && failsAtTheEnd)
            return -1;
        std::copy_n(m_content.constData() + m_position, size, data);
        m_position += size;
        return size;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    const QByteArray m_content;
    const qint64 m_promised;
    qint64 m_position = 0;
};

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

/// Closes the descriptor that this process has of a file, behind the back of whoever opened it.
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

class PackageFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void everySize_data();
    void everySize();
    void piecesAreSmall();
    void replacesALongerFile();
    void onlyWhatIsLeftOfTheBody();

    void bodyEndsEarly_data();
    void bodyEndsEarly();
    void cannotBeMade_data();
    void cannotBeMade();
    void readOnlyDisk();

    void fullDevice_data();
    void fullDevice();
    void fullDisk_data();
    void fullDisk();
    void limitedSize_data();
    void limitedSize();
    void descriptorFails_data();
    void descriptorFails();

    void threadIsToEnd();
    void text();
    void textThatCannotBeWritten();

private:
    QString path(const QString &name = QStringLiteral("temp.exe")) const { return m_folder->filePath(name); }

    Outcome save(const QByteArray &content, const QString &fileName) const
    {
        Body body(content, content.size());
        return packagefile::save(body, fileName);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void PackageFileTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

void PackageFileTest::everySize_data()
{
    QTest::addColumn<qsizetype>("size");
    for (const qsizetype size : {qsizetype(0), qsizetype(1), qsizetype(279), qsizetype(16'384), mebibyte - 1, mebibyte,
                                 mebibyte + 1, 3 * mebibyte, 3 * mebibyte + 5})
        QTest::addRow("%lld bytes", static_cast<long long>(size)) << size;
}

void PackageFileTest::everySize()
{
    QFETCH(const qsizetype, size);
    const QByteArray content = bytes(size);
    QCOMPARE(save(content, path()), Outcome::Saved);
    QVERIFY(contentOf(path()) == content);
    QVERIFY(QFile::exists(path()));
}

void PackageFileTest::piecesAreSmall()
{
    Body body(bytes(5 * mebibyte), 5 * mebibyte);
    QCOMPARE(packagefile::save(body, path()), Outcome::Saved);
    QVERIFY2(body.largestRead <= mebibyte, qPrintable(QString::number(body.largestRead)));
}

void PackageFileTest::replacesALongerFile()
{
    QCOMPARE(save(bytes(5000), path()), Outcome::Saved);
    QCOMPARE(save("short", path()), Outcome::Saved);
    QCOMPARE(contentOf(path()), QByteArray("short"));
}

void PackageFileTest::onlyWhatIsLeftOfTheBody()
{
    QBuffer body;
    body.setData("0123456789");
    QVERIFY(body.open(QIODevice::ReadOnly));
    body.seek(4);
    QCOMPARE(packagefile::save(body, path()), Outcome::Saved);
    QCOMPARE(contentOf(path()), QByteArray("456789"));
}

void PackageFileTest::bodyEndsEarly_data()
{
    QTest::addColumn<qsizetype>("there");
    QTest::addColumn<bool>("isError");
    QTest::newRow("with nothing") << qsizetype(0) << false;
    QTest::newRow("with nothing, as an error") << qsizetype(0) << true;
    QTest::newRow("in the first piece") << qsizetype(1000) << false;
    QTest::newRow("after two pieces") << 2 * mebibyte << false;
    QTest::newRow("after two pieces, as an error") << 2 * mebibyte << true;
}

void PackageFileTest::bodyEndsEarly()
{
    QFETCH(const qsizetype, there);
    QFETCH(const bool, isError);
    Body body(bytes(there), 3 * mebibyte);
    body.failsAtTheEnd = isError;
    QCOMPARE(packagefile::save(body, path()), Outcome::NotWritten);
    QVERIFY(!QFile::exists(path()));
}

void PackageFileTest::cannotBeMade_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("no such folder") << QStringLiteral("absent/temp.exe");
    QTest::newRow("below a plain file") << QStringLiteral("plain/temp.exe");
    QTest::newRow("a folder") << QStringLiteral("folder");
    QTest::newRow("too long a name") << QString(300, u'x');
}

void PackageFileTest::cannotBeMade()
{
    QFETCH(const QString, name);
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("folder")));
    QCOMPARE(save("a file", path(QStringLiteral("plain"))), Outcome::Saved);
    const QStringList before = namesIn(m_folder->path());
    QCOMPARE(save("a body", path(name)), Outcome::NotOpened);
    QCOMPARE(packagefile::saveText("a text", path(name)), Outcome::NotOpened);
    QCOMPARE(namesIn(m_folder->path()), before);
    QCOMPARE(contentOf(path(QStringLiteral("plain"))), QByteArray("a file"));
}

void PackageFileTest::readOnlyDisk()
{
    privatemounts::Mount disk(m_folder->path(), "size=1m");
    if (!disk)
        QSKIP("mounting is not allowed here");
    QVERIFY(disk.makeReadOnly());
    QCOMPARE(save("a body", path()), Outcome::NotOpened);
}

void PackageFileTest::fullDevice_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::newRow("shows at the flush") << qsizetype(279);
    QTest::newRow("shows at the write") << 2 * mebibyte;
}

void PackageFileTest::fullDevice()
{
    QFETCH(const qsizetype, size);
    // A link, for what cannot be written is removed.
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), path()));
    QCOMPARE(save(bytes(size), path()), Outcome::NotWritten);
    QCOMPARE(namesIn(m_folder->path()), QStringList());
    QVERIFY(QFile::exists(QStringLiteral("/dev/full")));
}

void PackageFileTest::fullDisk_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<Outcome>("outcome");
    QTest::newRow("just fits") << mebibyte << Outcome::Saved;
    QTest::newRow("one byte too many") << mebibyte + 1 << Outcome::NotWritten;
    QTest::newRow("far too large") << 5 * mebibyte << Outcome::NotWritten;
}

void PackageFileTest::fullDisk()
{
    QFETCH(const qsizetype, size);
    QFETCH(const Outcome, outcome);
    const privatemounts::Mount disk(m_folder->path(), "size=1m");
    if (!disk)
        QSKIP("mounting is not allowed here");
    QCOMPARE(save(bytes(size), path()), outcome);
    QCOMPARE(QFile::exists(path()), outcome == Outcome::Saved);
}

void PackageFileTest::limitedSize_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<qint64>("limit");
    QTest::newRow("short write") << 2 * mebibyte << qint64(700'000);
    QTest::newRow("second piece") << 2 * mebibyte << qint64(mebibyte);
    QTest::newRow("flush") << qsizetype(10'000) << qint64(5'000);
}

void PackageFileTest::limitedSize()
{
    QFETCH(const qsizetype, size);
    QFETCH(const qint64, limit);
    Outcome outcome = Outcome::Saved;
    {
        const FileSizeLimit sizeLimit(static_cast<rlim_t>(limit));
        outcome = save(bytes(size), path());
    }
    QCOMPARE(outcome, Outcome::NotWritten);
    QVERIFY(!QFile::exists(path()));
}

void PackageFileTest::descriptorFails_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::newRow("flush and close") << qsizetype(279);
    // What is larger than the buffer of a file has been written by then.
    QTest::newRow("close alone") << mebibyte;
}

void PackageFileTest::descriptorFails()
{
    QFETCH(const qsizetype, size);
    Body body(bytes(size), size);
    bool isClosed = false;
    body.atEnd = [&] { isClosed = isClosed || closeDescriptorOf(path()); };
    QCOMPARE(packagefile::save(body, path()), Outcome::NotWritten);
    QVERIFY(isClosed);
    QVERIFY(!QFile::exists(path()));
}

void PackageFileTest::threadIsToEnd()
{
    Outcome outcome = Outcome::Saved;
    qint64 left = 0;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        Body body(bytes(3 * mebibyte), 3 * mebibyte);
        QThread::currentThread()->requestInterruption();
        outcome = packagefile::save(body, path());
        left = body.bytesAvailable();
    }));
    thread->start();
    QVERIFY(thread->wait());
    QCOMPARE(outcome, Outcome::NotWritten);
    QVERIFY(left >= 2 * mebibyte);
    QVERIFY(!QFile::exists(path()));
}

void PackageFileTest::text()
{
    QCOMPARE(packagefile::saveText("one\ntwo\nthree", path()), Outcome::Saved);
#ifdef Q_OS_WIN
    QCOMPARE(contentOf(path()), QByteArray("one\r\ntwo\r\nthree"));
#else
    QCOMPARE(contentOf(path()), QByteArray("one\ntwo\nthree"));
#endif
    QCOMPARE(packagefile::saveText({}, path()), Outcome::Saved);
    QVERIFY(QFile::exists(path()));
    QCOMPARE(contentOf(path()), QByteArray(""));
}

void PackageFileTest::textThatCannotBeWritten()
{
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), path()));
    QCOMPARE(packagefile::saveText("a text", path()), Outcome::NotWritten);
    QCOMPARE(namesIn(m_folder->path()), QStringList());
}

int main(int argc, char *argv[])
{
    privatemounts::enter();
    QCoreApplication application(argc, argv);
    PackageFileTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "packagefile_test.moc"
