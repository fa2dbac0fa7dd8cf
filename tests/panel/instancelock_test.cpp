#include "instancelock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <future>
#include <memory>
#include <thread>

using Result = InstanceLock::Result;

namespace {

const QString holdForever = QStringLiteral("--hold");

/// Holds a lock in a thread of its own: Windows gives a mutex to the thread.
class Holder
{
public:
    explicit Holder(const QString &name)
    {
        std::promise<Result> tried;
        std::future<Result> result = tried.get_future();
        m_thread = std::thread([name, &tried, enough = m_enough.get_future()] {
            InstanceLock lock(name);
            tried.set_value(lock.tryLock());
            enough.wait();
        });
        m_result = result.get();
    }

    ~Holder() { release(); }

    Q_DISABLE_COPY_MOVE(Holder)

    Result result() const { return m_result; }

    void release()
    {
        if (!m_thread.joinable())
            return;
        m_enough.set_value();
        m_thread.join();
    }

private:
    std::promise<void> m_enough;
    Result m_result = Result::Failed;
    std::thread m_thread;
};

/// A process to be killed: holds the lock and says so.
[[noreturn]] void hold(const QString &name)
{
    InstanceLock lock(name);
    std::puts(lock.tryLock() == Result::Locked ? "held" : "not held");
    std::fflush(stdout);
    for (;;)
        QThread::sleep(60);
}

} // namespace

class InstanceLockTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void excludesOthers();
    void isFreed();
    void killedHolderHoldsNothing_data();
    void killedHolderHoldsNothing();
    void askersAreNotHolders();
    void failsWithoutAName();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_name;
};

void InstanceLockTest::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    // A mutex may have any name but for backslashes.
    m_name = m_folder->filePath(QStringLiteral("test.lock"));
}

void InstanceLockTest::excludesOthers()
{
    InstanceLock first(m_name);
    QVERIFY(first.isFree());
    QCOMPARE(first.tryLock(), Result::Locked);
    QCOMPARE(first.tryLock(), Result::Locked);
    QVERIFY(!first.isFree());
    QCOMPARE(Holder(m_name).result(), Result::HeldByOther);

    bool seemsFree = true;
    std::thread([&] { seemsFree = InstanceLock(m_name).isFree(); }).join();
    QVERIFY(!seemsFree);
}

void InstanceLockTest::isFreed()
{
    InstanceLock second(m_name);
    Holder first(m_name);
    QCOMPARE(first.result(), Result::Locked);
    QCOMPARE(second.tryLock(), Result::HeldByOther);
    QVERIFY(!second.isFree());
    first.release();
    QVERIFY(second.isFree());
    QCOMPARE(second.tryLock(), Result::Locked);
}

void InstanceLockTest::killedHolderHoldsNothing_data()
{
    QTest::addColumn<bool>("asked");
    QTest::newRow("nobody asks before") << false;
    QTest::newRow("somebody asks before") << true;
}

// Windows calls such a mutex abandoned, once.
void InstanceLockTest::killedHolderHoldsNothing()
{
    QFETCH(bool, asked);
    QProcess holder;
    holder.start(QCoreApplication::applicationFilePath(), {holdForever, m_name});
    QVERIFY(holder.waitForReadyRead());
    QCOMPARE(holder.readAllStandardOutput().trimmed(), QByteArray("held"));
    InstanceLock next(m_name);
    QCOMPARE(next.tryLock(), Result::HeldByOther);

    holder.kill();
    QVERIFY(holder.waitForFinished());
    if (asked)
        QVERIFY(next.isFree());
    QCOMPARE(next.tryLock(), Result::Locked);
    QCOMPARE(Holder(m_name).result(), Result::HeldByOther);
}

void InstanceLockTest::askersAreNotHolders()
{
    std::atomic_bool stop = false;
    std::atomic_int asked = 0;
    std::thread asker([&stop, &asked, name = m_name] {
        const InstanceLock lock(name);
        while (!stop) {
            lock.isFree();
            ++asked;
        }
    });
    Result worst = Result::Locked;
    for (int i = 0; i < 200 && worst == Result::Locked; ++i) {
        const int before = asked;
        QElapsedTimer clock;
        clock.start();
        const Result result = InstanceLock(m_name).tryLock();
        // An asker that the system suspends in the middle of its question holds the lock for all that time.
        const bool askerStood = asked < before + 2 && clock.elapsed() >= 40;
        if (!askerStood)
            worst = result;
    }
    stop = true;
    asker.join();
    QCOMPARE(worst, Result::Locked);
}

void InstanceLockTest::failsWithoutAName()
{
    InstanceLock lock{QString()};
    QCOMPARE(lock.tryLock(), Result::Failed);
    QVERIFY(!lock.errorText().isEmpty());
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (const QStringList arguments = application.arguments(); arguments.value(1) == holdForever)
        hold(arguments.value(2));
    InstanceLockTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "instancelock_test.moc"
