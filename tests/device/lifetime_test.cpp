// Starts and ends owners of a device over and over, in every way that an owner may be: each must end with 0, and
// neither Qt nor a sanitizer may have anything to say.

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

constexpr int startLimit_ms = 60000;

/// One way to start an owner.
struct Start
{
    const char *program; ///< the variable of the environment that holds its path
    const char *mode;
    const char *unit; ///< as in ownerunit.h
};

constexpr Start starts[] = {
    {"KDMX_OWNER", "without-application", "ready"},
    {"KDMX_OWNER", "without-application", "absent"},
    {"KDMX_OWNER", "without-event-loop", "ready"},
    {"KDMX_OWNER", "without-event-loop", "absent"},
    {"KDMX_OWNER", "early", "ready"},
    {"KDMX_OWNER", "early", "absent"},
    {"KDMX_OWNER", "in-flight", "ready"},
    {"KDMX_OWNER", "many", "ready"},
    {"KDMX_PASSING_OWNER", "on-the-stack", "ready"},
    {"KDMX_PASSING_OWNER", "on-the-stack", "absent"},
    {"KDMX_PASSING_OWNER", "unanswered", "ready"},
    {"KDMX_PASSING_OWNER", "unanswered", "absent"},
    {"KDMX_PASSING_OWNER", "deleted-later", "ready"},
    {"KDMX_PASSING_OWNER", "deleted-later", "absent"},
    {"KDMX_PASSING_OWNER", "one-after-the-other", "ready"},
    {"KDMX_PASSING_OWNER", "one-after-the-other", "absent"},
    {"KDMX_PASSING_OWNER", "child-of-the-application", "ready"},
    {"KDMX_PASSING_OWNER", "child-of-the-application", "absent"},
    {"KDMX_PASSING_OWNER", "around", "ready"},
    {"KDMX_PASSING_OWNER", "around", "absent"},
};

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

/// What is left of the standard output without the lines that the device link prints of transfers that failed or were
/// refused, and of settings that wait for the next message.
QString withoutLinkLines(QString printed)
{
    // Some systems end a printed line with two characters.
    printed.remove(u'\r');
    static const QRegularExpression linkLine(
        QStringLiteral("^(\\S+\\.cpp:\\d+:ERROR|GetLastError\\(\\) = 0x[0-9a-f]+|ERROR : \\d+)\n"),
        QRegularExpression::MultilineOption);
    return printed.remove(linkLine);
}

/// An owner in a process of its own, killed at the end of the scope whatever happens.
class Owner
{
public:
    /// @param wrapper  runs the program that KDMX_VALGRIND_PROGRAM names; empty for none
    explicit Owner(const Start &start, const QString &wrapper = {})
        : m_name(text(start.mode) + u' ' + text(start.unit))
    {
        const QString program = qEnvironmentVariable(start.program);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("KDMX_OWNER_UNIT"), text(start.unit));
        environment.insert(QStringLiteral("KDMX_VALGRIND_PROGRAM"), program);
        environment.insert(QStringLiteral("QT_FATAL_WARNINGS"), QStringLiteral("1"));
        m_process.setProcessEnvironment(environment);
        m_process.start(wrapper.isEmpty() ? program : wrapper, {text(start.mode)});
    }

    ~Owner()
    {
        if (hasEnded())
            return;
        m_process.kill();
        m_process.waitForFinished();
    }

    Q_DISABLE_COPY_MOVE(Owner)

    bool hasEnded() const { return m_process.state() == QProcess::NotRunning; }

    /// What is wrong with how it ended; empty when nothing is.
    QString complaint()
    {
        const QString printed = QString::fromUtf8(m_process.readAllStandardError())
            + withoutLinkLines(QString::fromUtf8(m_process.readAllStandardOutput()));
        if (hasEnded() && m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0
            && m_process.error() == QProcess::UnknownError && printed.isEmpty())
            return {};
        const QString end = !hasEnded()                      ? QStringLiteral("still runs")
            : m_process.exitStatus() != QProcess::NormalExit ? QStringLiteral("crashed")
                                                             : QString::number(m_process.exitCode());
        return QStringLiteral("%1: %2\n%3").arg(m_name, end, printed);
    }

private:
    QString m_name;
    QProcess m_process;
};

/// Runs owners, some at a time; the first complaint, or an empty text. `start(index)` makes one.
template <typename Make>
QString runOwners(int count, Make start)
{
    const auto atATime = static_cast<size_t>(QThread::idealThreadCount() * 2);
    std::vector<std::unique_ptr<Owner>> running;
    int begun = 0;
    QString complaint;
    const auto proceed = [&] {
        const auto ended =
            std::partition(running.begin(), running.end(), [](auto &owner) { return !owner->hasEnded(); });
        for (auto owner = ended; owner != running.end() && complaint.isEmpty(); ++owner)
            complaint = (*owner)->complaint();
        const bool progress = ended != running.end();
        running.erase(ended, running.end());
        for (; running.size() < atATime && begun < count; ++begun)
            running.push_back(start(begun));
        return progress;
    };
    proceed();
    while (!running.empty() && complaint.isEmpty()) {
        if (!QTest::qWaitFor(proceed, startLimit_ms))
            return running.front()->complaint();
    }
    return complaint;
}

} // namespace

class LifetimeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsAndEnds()
    {
        const int count = qEnvironmentVariableIntValue("KDMX_OWNER_STARTS");
        QVERIFY(count >= static_cast<int>(std::size(starts)));
        const QString complaint = runOwners(count, [](int index) {
            return std::make_unique<Owner>(starts[static_cast<size_t>(index) % std::size(starts)]);
        });
        QVERIFY2(complaint.isEmpty(), qPrintable(complaint));
    }

    void isCleanUnderValgrind()
    {
        const QString wrapper = qEnvironmentVariable("KDMX_UNDER_VALGRIND");
        if (wrapper.isEmpty())
            QSKIP("Sanitizers and valgrind do not go together");
        if (QStandardPaths::findExecutable(QStringLiteral("valgrind")).isEmpty())
            QSKIP("valgrind is not installed");
        const QString complaint = runOwners(static_cast<int>(std::size(starts)), [&wrapper](int index) {
            return std::make_unique<Owner>(starts[static_cast<size_t>(index)], wrapper);
        });
        QVERIFY2(complaint.isEmpty(), qPrintable(complaint));
    }

    void endsWhileATransferTakesItsTime_data()
    {
        QTest::addColumn<QByteArray>("unit");
        QTest::addColumn<int>("count");
        // A sanitizer takes up to seconds to start a process, on a busy machine.
        QTest::addColumn<int>("limit_ms");
        QTest::newRow("slow") << QByteArray("slow") << 40 << startLimit_ms;
        QTest::newRow("called off") << QByteArray("cancellable") << 40 << startLimit_ms;
        QTest::newRow("hung") << QByteArray("hung") << 3 << 15000;
        QTest::newRow("back too late") << QByteArray("late") << 3 << 15000;
    }

    void endsWhileATransferTakesItsTime()
    {
        QFETCH(QByteArray, unit);
        QFETCH(int, count);
        QFETCH(int, limit_ms);
        const Start start = {"KDMX_OWNER", "in-flight", unit.constData()};
        QElapsedTimer clock;
        clock.start();
        const QString complaint = runOwners(count, [&start](int) { return std::make_unique<Owner>(start); });
        QVERIFY2(complaint.isEmpty(), qPrintable(complaint));
        QVERIFY2(clock.elapsed() < limit_ms, qPrintable(QString::number(clock.elapsed())));
    }
};

QTEST_GUILESS_MAIN(LifetimeTest)
#include "lifetime_test.moc"
