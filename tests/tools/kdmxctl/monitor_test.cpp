#include "kdmxctlprocess.h"
#include "terminalprocess.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstring>

// The live view, on a real terminal device, with the virtual unit.

namespace {

enum Code { Done = 0, Failed = 1, BadArgument = 2, Interrupted = 130 };

constexpr unsigned short usual_columns = 80;

const char *const view_begins = "\x1b[?1049h";
const char *const cursor_shown = "\x1b[?25h";
const char *const view_ends = "\x1b[?1049l";

const char *const last_key = "q\x1b[0m quit";

// The status is bold unless all is well.
const char *const connected = " connected\x1b[K";

bool is_same(const termios &one, const termios &other)
{
    return one.c_iflag == other.c_iflag && one.c_oflag == other.c_oflag && one.c_cflag == other.c_cflag
        && one.c_lflag == other.c_lflag && std::memcmp(one.c_cc, other.c_cc, sizeof(one.c_cc)) == 0;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class MonitorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void showsTheUnit();
    void eachKeySetsTheUnit_data();
    void eachKeySetsTheUnit();
    void changesAreMadeAgainAndAgain();
    void volumeStopsAtItsEnds();
    void refreshAsksAndDrawsAgain();
    void aUnitPluggedInLaterAppears();
    void aUnitThatGoesAwayComesBack();
    void tellsWhatIsWrong_data();
    void tellsWhatIsWrong();
    void aBusyUnitIsShownAllTheSame();
    void debugTextGivesTheTerminalNoCommands();
    void drawsOnlyWhatHasChanged();
    void followsTheSizeOfTheTerminal();
    void drawsWithAsciiWhereTheLocaleHasNoMore();
    void linkLinesGoToTheLogOnly();
    void aTraceIsWritten();
    void theTerminalIsGivenBack_data();
    void theTerminalIsGivenBack();
    void theTerminalIsGivenBackAfterAFailure();
    void endsAfterTheTimeout();
    void theShellHasTheTerminalWhileSuspended();
    void refusesWithoutATerminal();
    void refusesWhatItCannotDo_data();
    void refusesWhatItCannotDo();

private:
    QTemporaryDir m_folder;
};

void MonitorTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    qputenv("TERM", "xterm");
}

void MonitorTest::showsTheUnit()
{
    TerminalProcess process(words("--virtual=hz=96000,debug=hello monitor"), usual_columns);
    for (const char *const text : {"KD-MX2", connected, "Firmware         291 (0x0123), build 1110 (0x0456)",
                                   "Built            Apr  1 2025, 12:34:56", "Sample rate      96000 Hz",
                                   "Input volume     151   █", "Input 1          on", "Input 2          on",
                                   "Direct monitor   stereo", "Auto power save  on", "Debug text", "hello", last_key})
        QVERIFY2(process.await_text(text), text);
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::eachKeySetsTheUnit_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    const QByteArray volume = "Input volume     151   █";
    QTest::newRow("+") << QByteArray("+") << volume << QByteArray("Input volume     156   █");
    QTest::newRow("-") << QByteArray("-") << volume << QByteArray("Input volume     146   █");
    QTest::newRow("up") << QByteArray("\x1b[A") << volume << QByteArray("Input volume     156   █");
    QTest::newRow("down") << QByteArray("\x1b[B") << volume << QByteArray("Input volume     146   █");
    QTest::newRow("right") << QByteArray("\x1b[C") << volume << QByteArray("Input volume     152   █");
    QTest::newRow("left") << QByteArray("\x1b[D") << volume << QByteArray("Input volume     150   █");
    QTest::newRow("1") << QByteArray("1") << QByteArray("Input 1          on\x1b[K")
                       << QByteArray("Input 1          off\x1b[K");
    QTest::newRow("2") << QByteArray("2") << QByteArray("Input 2          on\x1b[K")
                       << QByteArray("Input 2          off\x1b[K");
    QTest::newRow("m") << QByteArray("m") << QByteArray("Direct monitor   stereo\x1b[K")
                       << QByteArray("Direct monitor   mono\x1b[K");
    QTest::newRow("p") << QByteArray("p") << QByteArray("Auto power save  on\x1b[K")
                       << QByteArray("Auto power save  off\x1b[K");
}

// A value stands without a mark only when the unit has reported it.
void MonitorTest::eachKeySetsTheUnit()
{
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    TerminalProcess process(words("--virtual monitor"), usual_columns);
    QVERIFY(process.await_text(before.constData()));
    QVERIFY(!process.shown().contains(after));
    process.type(key.constData());
    QVERIFY2(process.await_text(after.constData()), process.shown().constData());
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

// The device does not send what it was given last: the view must get it through all the same.
void MonitorTest::changesAreMadeAgainAndAgain()
{
    TerminalProcess process(words("--virtual monitor"), usual_columns);
    QVERIFY(process.await_text("Input 1          on\x1b[K"));
    for (const char *const text : {"off", "on", "off", "on"}) {
        process.forget_shown();
        process.type("1");
        QVERIFY(process.await_text((QByteArray("Input 1          ") + text + "\x1b[K").constData()));
    }
    // The unit comes back with its settings, the device with what it was given before.
    for (const char *const text : {"156", "151", "156"}) {
        process.forget_shown();
        process.type(qstrcmp(text, "156") == 0 ? "+" : "-");
        QVERIFY(process.await_text((QByteArray("Input volume     ") + text + "   █").constData()));
    }
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::volumeStopsAtItsEnds()
{
    TerminalProcess process(words("--virtual monitor"), usual_columns);
    QVERIFY(process.await_text("Input volume     151"));
    process.type(QByteArray(40, '+').constData());
    QVERIFY(process.await_text("Input volume     255   █"));
    process.type(QByteArray(60, '-').constData());
    QVERIFY(process.await_text("Input volume     0     \x1b[2m░"));
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::refreshAsksAndDrawsAgain()
{
    const QString trace = m_folder.filePath(QStringLiteral("refresh.trace"));
    TerminalProcess process(words("--virtual monitor") + QStringList{QStringLiteral("--trace=") + trace},
                            usual_columns);
    QVERIFY(process.await_text("Built            Apr"));
    const auto identity_questions = [&] { return contents(trace).count(" 31 01"); };
    const qsizetype before = identity_questions();
    QVERIFY(before > 0);
    process.forget_shown();
    process.type("r");
    QVERIFY(process.await_text("Firmware         291"));
    QTRY_VERIFY(identity_questions() > before);
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::aUnitPluggedInLaterAppears()
{
    TerminalProcess process(words("--virtual=unplug*6 monitor"), usual_columns);
    QVERIFY(process.await_text("no unit"));
    QVERIFY(process.await_text("Connect the unit by USB and switch it on."));
    QVERIFY(process.await_text("Input volume     151   █"));
    QVERIFY(process.await_text(connected));
    process.type("+q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::aUnitThatGoesAwayComesBack()
{
    TerminalProcess process(words("--virtual=unplug*10@30 monitor"), usual_columns);
    QVERIFY(process.await_text("Input volume     151   █"));
    process.forget_shown();
    QVERIFY(process.await_text("no unit"));
    QVERIFY(process.await_text("Sample rate      \x1b[2m–"));
    QVERIFY(process.await_text("Input volume     \x1b[2m–"));
    process.forget_shown();
    QVERIFY(process.await_text(connected));
    QVERIFY(process.await_text("Firmware         291"));
    QVERIFY(process.await_text("Input volume     151   █"));
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::tellsWhatIsWrong_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QByteArray>("status");
    QTest::newRow("busy") << QStringLiteral("busy*ever") << QByteArray("\x1b[1mbusy");
    QTest::newRow("no unit") << QStringLiteral("unplug*ever") << QByteArray("\x1b[1mno unit");
    QTest::newRow("not responding") << QStringLiteral("stall*ever") << QByteArray("\x1b[1mnot responding");
    QTest::newRow("failed") << QStringLiteral("hard*ever") << QByteArray("\x1b[1mtransfer failed");
}

void MonitorTest::tellsWhatIsWrong()
{
    QFETCH(QString, script);
    QFETCH(QByteArray, status);
    TerminalProcess process({QStringLiteral("--virtual=") + script, QStringLiteral("monitor")}, usual_columns);
    QVERIFY(process.await_text(status.constData()));
    // Keys have nothing to start from.
    process.type("+-12mp");
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
    QVERIFY(!process.shown().contains("connected"));
    QVERIFY(!process.shown().contains("…"));
}

void MonitorTest::aBusyUnitIsShownAllTheSame()
{
    TerminalProcess process(words("--virtual=busy=3 monitor"), usual_columns);
    QVERIFY2(process.await_text("Input volume     151   █"), process.shown().constData());
    QVERIFY(process.shown().contains("\x1b[1mbusy"));
    process.type("m");
    QVERIFY(process.await_text("Direct monitor   mono\x1b[K"));
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::debugTextGivesTheTerminalNoCommands()
{
    TerminalProcess process({QStringLiteral("--virtual=debug=bad\x1b[31m\u009b31mtext"), QStringLiteral("monitor")},
                            usual_columns);
    QVERIFY(process.await_text("bad\uFFFD[31m\uFFFD31mtext"));
    QVERIFY(!process.shown().contains("\x1b[31m"));
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::drawsOnlyWhatHasChanged()
{
    TerminalProcess process(words("--virtual monitor"), usual_columns);
    for (const char *const text : {"Built            Apr", "Sample rate      48000", "Input volume     151",
                                   "Input 2          on", "Direct monitor   stereo", "Auto power save  on", connected})
        QVERIFY(process.await_text(text));
    process.forget_shown();
    process.type("m");
    QVERIFY(process.await_text("Direct monitor   mono\x1b[K"));
    for (const char *const text : {"KD-MX2", "Firmware", "Sample rate", "Input", "power save", "\x1b[2J"})
        QVERIFY2(!process.shown().contains(text), process.shown().constData());
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::followsTheSizeOfTheTerminal()
{
    TerminalProcess process(words("--virtual monitor"), usual_columns);
    QVERIFY(process.await_text(last_key));
    process.forget_shown();
    process.resize(40, 12);
    QVERIFY(process.await_text("\x1b[2J"));
    QVERIFY2(process.await_text("\x1b[12;1H\x1b[1mp\x1b[0m power save"), process.shown().constData());
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::drawsWithAsciiWhereTheLocaleHasNoMore()
{
    const QByteArray before = qgetenv("LC_ALL");
    qputenv("LC_ALL", "C");
    TerminalProcess process(words("--virtual monitor"), usual_columns);
    qputenv("LC_ALL", before);
    QVERIFY(process.await_text("Input volume     151     ####"));
    process.type("+");
    QVERIFY(process.await_text("Input volume     156     ####"));
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
    for (const char character : process.shown())
        QVERIFY(static_cast<unsigned char>(character) < 0x80);
}

void MonitorTest::linkLinesGoToTheLogOnly()
{
    const QString log = m_folder.filePath(QStringLiteral("link.log"));
    TerminalProcess process(words("--virtual=stall@3 monitor --log") + QStringList{log}, usual_columns);
    QVERIFY(process.await_text("Input volume     151   █"));
    process.type("1");
    QVERIFY(process.await_text("Input 1          off\x1b[K"));
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
    for (const char *const line : {"GetLastError() = 0x1f\n", "Audio Input1:FALSE\n"}) {
        QVERIFY2(contents(log).contains(line), line);
        QVERIFY(!process.shown().contains(QByteArray(line).trimmed()));
    }
}

void MonitorTest::aTraceIsWritten()
{
    const QString trace = m_folder.filePath(QStringLiteral("view.trace"));
    TerminalProcess process(words("--virtual monitor") + QStringList{QStringLiteral("--trace=") + trace},
                            usual_columns);
    QVERIFY(process.await_text("Input volume     151   █"));
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
    QVERIFY(contents(trace).contains(" write ok "));
    QVERIFY(contents(trace).contains(" read  ok "));
}

void MonitorTest::theTerminalIsGivenBack_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("code");
    QTest::newRow("q") << QByteArray("q") << 0 << int{Done};
    QTest::newRow("Ctrl-C") << QByteArray("\x03") << 0 << int{Interrupted};
    QTest::newRow("SIGINT") << QByteArray() << SIGINT << int{Interrupted};
    QTest::newRow("SIGTERM") << QByteArray() << SIGTERM << int{Interrupted};
    QTest::newRow("SIGHUP") << QByteArray() << SIGHUP << int{Interrupted};
    QTest::newRow("SIGQUIT") << QByteArray() << SIGQUIT << int{Interrupted};
}

void MonitorTest::theTerminalIsGivenBack()
{
    QFETCH(QByteArray, key);
    QFETCH(int, signal);
    QFETCH(int, code);
    // The view is opened after the settings: they are not changed yet.
    TerminalProcess process(words("--virtual monitor"), usual_columns);
    const termios before = process.settings();
    QVERIFY(process.await_text(last_key));
    QVERIFY(!is_same(process.settings(), before));
    QCOMPARE(process.settings().c_lflag & (ICANON | ECHO), tcflag_t{0});
    process.type(key.constData());
    if (signal != 0)
        process.signal(signal);
    QCOMPARE(process.finish(), code);
    QVERIFY(is_same(process.settings(), before));
    const QByteArray &shown = process.shown();
    QCOMPARE(shown.count(view_begins), 1);
    QCOMPARE(shown.count(view_ends), 1);
    QVERIFY(shown.indexOf(cursor_shown) > shown.indexOf(view_begins));
    const QByteArray rest = shown.mid(shown.indexOf(view_ends) + static_cast<qsizetype>(qstrlen(view_ends)));
    QCOMPARE(rest, code == Done ? QByteArray() : QByteArray("\rkdmxctl: Interrupted.\r\n"));
}

void MonitorTest::theTerminalIsGivenBackAfterAFailure()
{
    if (!QFile::exists(QStringLiteral("/dev/full")))
        QSKIP("SKIP there is no /dev/full");
    TerminalProcess process(words("--virtual monitor --trace=/dev/full"), usual_columns);
    const termios before = process.settings();
    QVERIFY(process.await_text("Input volume     151"));
    process.type("q");
    QCOMPARE(process.finish(), int{Failed});
    QVERIFY(is_same(process.settings(), before));
    QVERIFY(process.shown().indexOf("The trace /dev/full is incomplete.") > process.shown().indexOf(view_ends));
}

void MonitorTest::endsAfterTheTimeout()
{
    TerminalProcess process(words("--virtual monitor --timeout 3"), usual_columns);
    QCOMPARE(process.finish(), int{Done});
    QVERIFY(process.shown().contains("KD-MX"));
    QVERIFY(process.shown().endsWith(view_ends));
}

// The terminal's first program is not stopped, since nobody could continue it: what comes before and after is seen.
void MonitorTest::theShellHasTheTerminalWhileSuspended()
{
    TerminalProcess process(words("--virtual monitor"), usual_columns);
    QVERIFY(process.await_text("Input volume     151"));
    process.forget_shown();
    process.type("\x1a");
    QVERIFY(process.await_text(view_ends));
    QVERIFY(process.await_text(view_begins));
    QVERIFY(process.await_text("Input volume     151"));
    QVERIFY(process.shown().indexOf(view_ends) < process.shown().indexOf(view_begins));
    process.type("q");
    QCOMPARE(process.finish(), int{Done});
}

void MonitorTest::refusesWithoutATerminal()
{
    const Outcome outcome = run_kdmxctl(words("--virtual monitor"));
    QCOMPARE(outcome.code, int{BadArgument});
    QVERIFY(outcome.out.isEmpty());
    QVERIFY2(outcome.err.startsWith("kdmxctl: monitor needs a terminal"), outcome.err.constData());
}

void MonitorTest::refusesWhatItCannotDo_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QByteArray>("terminal");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("JSON") << QStringLiteral("--virtual --json") << QByteArray("xterm") << QByteArray("has no --json");
    QTest::newRow("verification") << QStringLiteral("--virtual --verify") << QByteArray("xterm")
                                  << QByteArray("--verify reads back");
    QTest::newRow("replay") << QStringLiteral("--replay /dev/null") << QByteArray("xterm")
                            << QByteArray("no --replay can follow");
    QTest::newRow("log") << QStringLiteral("--virtual --log -") << QByteArray("xterm") << QByteArray("need a file");
    QTest::newRow("trace") << QStringLiteral("--virtual --trace") << QByteArray("xterm") << QByteArray("need a file");
    QTest::newRow("simple terminal") << QStringLiteral("--virtual") << QByteArray("dumb")
                                     << QByteArray("can place its cursor");
}

void MonitorTest::refusesWhatItCannotDo()
{
    QFETCH(QString, options);
    QFETCH(QByteArray, terminal);
    QFETCH(QByteArray, message);
    qputenv("TERM", terminal);
    TerminalProcess process(words(options.toUtf8().constData()) + words("monitor"), usual_columns);
    qputenv("TERM", "xterm");
    QCOMPARE(process.finish(), int{BadArgument});
    QVERIFY2(process.shown().contains(message), process.shown().constData());
    QVERIFY(!process.shown().contains('\x1b'));
}

QTEST_GUILESS_MAIN(MonitorTest)
#include "monitor_test.moc"
