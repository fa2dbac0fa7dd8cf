#include "kdmxctlprocess.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

// What happens to kdmxctl from outside: interrupts, lost readers, full disks.

namespace {

enum Code { Done = 0, Failed = 1, Interrupted = 130 };

const char *const warning = "Press Ctrl-C again to stop.";

/// Takes what the process writes to a stream and loses it: the reader is gone.
void break_stream(int number)
{
    int ends[2];
    if (pipe(ends) != 0)
        _exit(99);
    close(ends[0]);
    dup2(ends[1], number);
    close(ends[1]);
}

} // namespace

class SignalsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void interruptsEndAnyCommand_data();
    void interruptsEndAnyCommand();
    void aRequestToEndIsFollowed();
    void aKilledProgramLeavesItsTrace();
    void interruptsAreIgnoredWhereTheyWereBefore();

    void theFirstInterruptOfATransferWarns();
    void theSecondInterruptOfATransferStops();
    void aTransferSurvivesTheLossOfItsTerminal();
    void aTransferSurvivesTheLossOfItsReader();

    void aFullDiskIsAFailure();
    void aLogOnAFullDiskIsAFailure();
    void aTraceOnAFullDiskIsAFailure();
    void aLostReaderIsAFailure();
    void withoutStandardOutputNothingIsDone();
    void withoutStandardErrorTheResultArrives();

private:
    QString image() const { return m_folder.filePath(QStringLiteral("image")); }

    /// A transfer that takes a second or so.
    QStringList slow_transfer(const char *options = "") const
    {
        return words("--virtual=busy=1,allowance=61 firmware --yes") + words(options) + QStringList{image()};
    }

    /// One that stands still after its first tenth, for so many reads.
    QStringList halted_transfer(const QByteArray &reads) const
    {
        const QByteArray script = "--virtual=busy=1,allowance=61,busy*" + reads + "@80";
        return words(script.constData()) + words("firmware --yes") + QStringList{image()};
    }

    QTemporaryDir m_folder;
};

void SignalsTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    QFile file(image());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(3050, 'x'));
}

void SignalsTest::interruptsEndAnyCommand_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("waiting for a busy unit") << QByteArray("--virtual=busy*ever rate");
    QTest::newRow("waiting for a unit that does not respond") << QByteArray("--virtual=stall*ever rate");
    QTest::newRow("waiting for an answer") << QByteArray("--virtual=mute*ever query 1");
    QTest::newRow("reading many blocks") << QByteArray("--virtual raw -n 1000 00");
    QTest::newRow("before a transfer") << QByteArray("--virtual=busy*ever firmware IMAGE --yes");
}

void SignalsTest::interruptsEndAnyCommand()
{
    QFETCH(QByteArray, line);
    QStringList list = words(line.constData()) << QStringLiteral("--trace") << QStringLiteral("--json");
    list.replaceInStrings(QStringLiteral("IMAGE"), image());
    KdmxctlProcess process(list);
    QVERIFY(process.await_error_text(" read "));
    process.signal(SIGINT);
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, int{Interrupted});
    const QJsonObject error = outcome.json().value(QStringLiteral("error")).toObject();
    QCOMPARE(error.value(QStringLiteral("code")), QJsonValue(QStringLiteral("interrupted")));
    // The link prints nothing about the transfers that were refused from then on.
    QVERIFY2(!outcome.err.contains("0x3e3"), outcome.err.constData());
    QCOMPARE(outcome.err.count("GetLastError"), outcome.err.count(" error "));
}

void SignalsTest::aRequestToEndIsFollowed()
{
    for (const int signal : {SIGTERM, SIGHUP}) {
        KdmxctlProcess process(words("--virtual=busy*ever --trace rate"));
        QVERIFY(process.await_error_text(" read "));
        process.signal(signal);
        QCOMPARE(process.finish().code, int{Interrupted});
    }
}

void SignalsTest::aKilledProgramLeavesItsTrace()
{
    const QString trace = m_folder.filePath(QStringLiteral("killed"));
    const QStringList list = words("--virtual=stall*ever --log=- rate") << QStringLiteral("--trace=") + trace;
    KdmxctlProcess process(list);
    // The link's line about the first transfer, which is in the trace by then.
    QVERIFY(process.await_error_text("ERROR"));
    process.signal(SIGKILL);
    QCOMPARE(process.finish().code, -1);
    QFile file(trace);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray kept = file.readAll();
    QVERIFY2(kept.contains(" read  error 31\n"), kept.constData());
}

void SignalsTest::interruptsAreIgnoredWhereTheyWereBefore()
{
    KdmxctlProcess process(words("--virtual=busy=30 --trace rate"), true);
    QVERIFY(process.await_error_text(" write "));
    process.signal(SIGINT);
    process.signal(SIGHUP);
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.out, QByteArray("48000 Hz\n"));
    QCOMPARE(outcome.code, int{Done});
}

void SignalsTest::theFirstInterruptOfATransferWarns()
{
    KdmxctlProcess process(halted_transfer("300"));
    QVERIFY(process.await_error_text(" 10 %"));
    process.signal(SIGINT);
    QVERIFY(process.await_error_text(warning));
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.err.count(warning), 1);
    QVERIFY(outcome.out.endsWith("The unit has confirmed the image.\n"));
    QCOMPARE(outcome.code, int{Done});
}

void SignalsTest::theSecondInterruptOfATransferStops()
{
    KdmxctlProcess process(halted_transfer("ever"));
    QVERIFY(process.await_error_text(" 10 %"));
    process.signal(SIGINT);
    QVERIFY(process.await_error_text(warning));
    process.signal(SIGINT);
    const Outcome outcome = process.finish();
    QVERIFY2(outcome.err.contains("kdmxctl: Interrupted. Sent: "), outcome.err.constData());
    QVERIFY2(outcome.err.contains("The unit may be without valid firmware."), outcome.err.constData());
    QVERIFY(!outcome.err.contains("100 %"));
    QVERIFY(!outcome.out.contains("confirmed"));
    QCOMPARE(outcome.code, int{Interrupted});
}

void SignalsTest::aTransferSurvivesTheLossOfItsTerminal()
{
    KdmxctlProcess process(slow_transfer());
    QVERIFY(process.await_error_text(" 10 %"));
    process.signal(SIGHUP);
    const Outcome outcome = process.finish();
    QVERIFY(outcome.out.endsWith("The unit has confirmed the image.\n"));
    QCOMPARE(outcome.code, int{Done});
}

void SignalsTest::aTransferSurvivesTheLossOfItsReader()
{
    const Outcome outcome = run_kdmxctl(slow_transfer("--json"), [](QProcess *process) {
        process->setChildProcessModifier([] { break_stream(STDERR_FILENO); });
    });
    QCOMPARE(outcome.json().value(QStringLiteral("confirmed")).toBool(), true);
    QCOMPARE(outcome.code, int{Done});
}

void SignalsTest::aFullDiskIsAFailure()
{
    for (const char *const line :
         {"--virtual rate", "--virtual --json rate", "--virtual=unplug --json rate", "--help", "--version"}) {
        const Outcome outcome = run_kdmxctl(words(line), [](QProcess *process) {
            process->setChildProcessModifier([] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
        });
        QVERIFY2(outcome.err.endsWith("kdmxctl: The result cannot be written: No space left on device.\n"),
                 outcome.err.constData());
        QVERIFY(outcome.code != Done);
    }
}

void SignalsTest::aLogOnAFullDiskIsAFailure()
{
    const Outcome outcome = run_kdmxctl(words("--virtual=stall --log /dev/full rate"));
    QVERIFY2(outcome.err.contains("The log /dev/full is incomplete"), outcome.err.constData());
    QCOMPARE(outcome.code, int{Failed});
}

void SignalsTest::aTraceOnAFullDiskIsAFailure()
{
    const Outcome outcome = run_kdmxctl(words("--virtual --trace=/dev/full rate"));
    QVERIFY2(outcome.err.contains("The trace /dev/full is incomplete"), outcome.err.constData());
    QCOMPARE(outcome.code, int{Failed});
}

void SignalsTest::aLostReaderIsAFailure()
{
    const Outcome outcome = run_kdmxctl(words("--virtual rate"), [](QProcess *process) {
        process->setChildProcessModifier([] { break_stream(STDOUT_FILENO); });
    });
    QCOMPARE(outcome.err, QByteArray("kdmxctl: The result cannot be written: Broken pipe.\n"));
    QCOMPARE(outcome.code, int{Failed});
}

void SignalsTest::withoutStandardOutputNothingIsDone()
{
    const QString trace = m_folder.filePath(QStringLiteral("trace"));
    const QStringList list = words("--virtual fader set line-out 1 7") << QStringLiteral("--trace=") + trace;
    const Outcome outcome =
        run_kdmxctl(list, [](QProcess *process) { process->setChildProcessModifier([] { close(STDOUT_FILENO); }); });
    QVERIFY2(outcome.err.contains("There is no standard output"), outcome.err.constData());
    QCOMPARE(outcome.code, int{Failed});
    QVERIFY(!QFile::exists(trace));
}

void SignalsTest::withoutStandardErrorTheResultArrives()
{
    const QString trace = m_folder.filePath(QStringLiteral("trace"));
    const QStringList list = words("--virtual=stall --json rate") << QStringLiteral("--trace=") + trace;
    const Outcome outcome = run_kdmxctl(list, [](QProcess *process) {
        process->setChildProcessModifier([] {
            close(STDIN_FILENO);
            close(STDERR_FILENO);
        });
    });
    QCOMPARE(outcome.json().value(QStringLiteral("rate_hz")).toInt(), 48000);
    QCOMPARE(outcome.code, int{Done});
    // The file did not get the number of standard error, so nothing else was written into it.
    QFile file(trace);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(!file.readAll().contains("ERROR"));
}

QTEST_GUILESS_MAIN(SignalsTest)
#include "signals_test.moc"
