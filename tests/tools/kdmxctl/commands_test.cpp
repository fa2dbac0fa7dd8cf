#include "kdmxctlprocess.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

// kdmxctl as scripts and people meet it: real processes, with the virtual unit or a trace as the unit.

namespace {

enum Code { Done = 0, Failed = 1, BadArgument = 2, NoUnit = 3, NoPermission = 4, Busy = 5, Mute = 6 };

/// Each command once, as it succeeds with a virtual unit.
const char *const every_command[] = {
    "info",
    "rate",
    "power-save",
    "power-save off",
    "fader get line-out 1",
    "fader set line-out 1 7",
    "mute get analog-in 2",
    "mute set analog-in 2 on",
    "stereo get direct-monitor 1",
    "stereo set direct-monitor 1 mono",
    "route analog-in 1 line-out 1",
    "routes",
    "debug",
    "raw 18010000",
    "set-u8 255",
    "set-u32 0xffffffff",
    "query 5",
    "command-a2",
    "firmware IMAGE --yes",
};

} // namespace

class CommandsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void commandsSpeakToPeople_data();
    void commandsSpeakToPeople();
    void commandsSpeakJson_data();
    void commandsSpeakJson();
    void jsonStaysWholeWhileTheLinkPrintsErrors();
    void everyFailureIsJson();

    void faultsEndWithTheirCodes_data();
    void faultsEndWithTheirCodes();
    void unitsThatCannotBeReached_data();
    void unitsThatCannotBeReached();
    void badArgumentsAreRefused_data();
    void badArgumentsAreRefused();

    void verifyingSeesALostSetting_data();
    void verifyingSeesALostSetting();
    void aSettingThatCannotBeSentIsNoSuccess();
    void timeoutsTellWhatWasSeen_data();
    void timeoutsTellWhatWasSeen();
    void readyInTheSameBlockIsNotBusy();

    void tracesCanBeReplayed_data();
    void tracesCanBeReplayed();
    void deviationsFromATraceFail_data();
    void deviationsFromATraceFail();
    void tracesShowFailures();

    void logsTakeTheLinkLines();
    void textsOfTheUnitAreHarmless();
    void scriptsMayStandApart();

    void firmwareTellsWhatItMoves();
    void firmwareIsConfirmedByTheUnit_data();
    void firmwareIsConfirmedByTheUnit();
    void badImagesAreRefused_data();
    void badImagesAreRefused();

private:
    QString path(const char *name) const { return m_folder.filePath(QString::fromUtf8(name)); }

    void write(const char *name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    /// The words of a command line; "IMAGE" stands for the image's path.
    QStringList arguments(const char *line) const
    {
        QStringList list = words(line);
        list.replaceInStrings(QStringLiteral("IMAGE"), path("image"));
        return list;
    }

    Outcome run(const char *line) const { return run_kdmxctl(arguments(line)); }

    QTemporaryDir m_folder;
};

void CommandsTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    QByteArray image;
    for (int index = 0; index < 1000; ++index)
        image += static_cast<char>(index * 7);
    write("image", image);
}

void CommandsTest::commandsSpeakToPeople_data()
{
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char *line, const char *expected) { QTest::newRow(line) << QByteArray(expected); };
    row("info",
        "Product           KD-MX2\n"
        "Firmware version  291 (0x0123)\n"
        "Firmware build    1110 (0x0456)\n"
        "Build date        Apr  1 2025\n"
        "Build time        12:34:56\n"
        "Further text      VELMAR KD-MX Series\n");
    row("rate", "48000 Hz\n");
    row("power-save", "auto power save: on\n");
    row("power-save off --verify", "auto power save: off (verified)\n");
    row("fader get line-out 1", "line-out 1: fader 111\n");
    row("fader set line-out 1 0x10 --verify", "line-out 1: fader 16 (verified)\n");
    row("fader set computer-out 1 255", "computer-out 1: fader 255\n");
    row("mute get master-out 1", "master-out 1: mute off\n");
    row("mute set master-out 1 on --verify", "master-out 1: mute on (verified)\n");
    row("stereo get analog-in 1", "analog-in 1: stereo mono\n");
    row("stereo set analog-in 1 stereo --verify", "analog-in 1: stereo stereo (verified)\n");
    row("stereo set direct-monitor 1 9 --verify", "direct-monitor 1: stereo 9 (verified)\n");
    row("route analog-in 2 line-out 1 --verify", "analog-in 2 -> line-out 1 (verified)\n");
    row("routes",
        "analog-in 1       -> computer-out 1\n"
        "analog-in 2       -> computer-out 2\n"
        "direct-monitor 1  -> master-out 1\n"
        "master-out 1      -> line-out 1\n");
    row("debug", "No debug text.\n");
    row("debug --virtual=debug=hello", "hello\n");
    row("set-u8 0xff", "set-u8: 255\n");
    row("set-u32 4294967295", "set-u32: 4294967295\n");
    row("query 5", "1005 (0x000003ed)\n");
    row("command-a2", "command-a2: sent\n");
    row("raw 18 01 0000", "Sent 4 bytes: 18 01 00 00\nBlock 1\n  0xa1  ready 1\n  0x18  rate 48000\n");
    row("raw -n 2 1801",
        "Sent 2 bytes: 18 01\nBlock 1\n  0xa1  ready 1\n  0x18  rate 48000\nBlock 2\n  0xa1  ready 1\n");
    row("raw --blocks 0 0000", "Sent 2 bytes: 00 00\n");
}

void CommandsTest::commandsSpeakToPeople()
{
    QFETCH(QByteArray, expected);
    const QByteArray line = QTest::currentDataTag();
    const Outcome outcome = run((line.contains("--virtual") ? line : "--virtual " + line).constData());
    QCOMPARE(outcome.out, expected);
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, int{Done});
}

void CommandsTest::commandsSpeakJson_data()
{
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char *line, const char *expected) { QTest::newRow(line) << QByteArray(expected); };
    row("info",
        R"({"product": "KD-MX2", "version": 291, "build": 1110, "build_date": "Apr  1 2025",
            "build_time": "12:34:56", "info": "VELMAR KD-MX Series"})");
    row("rate", R"({"rate_hz": 48000})");
    row("power-save", R"({"action": "get", "power_save": true})");
    row("power-save off --verify", R"({"action": "set", "power_save": false, "verified": true})");
    row("fader get line-out 1", R"({"action": "get", "channel": "line-out", "number": 1, "fader": 111})");
    row("mute set analog-in 2 on", R"({"action": "set", "channel": "analog-in", "number": 2, "mute": true})");
    row("stereo get analog-in 1", R"({"action": "get", "channel": "analog-in", "number": 1, "stereo": "mono"})");
    row("stereo set analog-in 1 7", R"({"action": "set", "channel": "analog-in", "number": 1, "stereo": 7})");
    row("route analog-in 1 line-out 1 --verify",
        R"({"source": {"channel": "analog-in", "number": 1}, "destination": {"channel": "line-out", "number": 1},
            "verified": true})");
    row("debug", R"({"debug": null})");
    row("set-u8 255", R"({"value": 255})");
    row("query 5", R"({"value": 5, "answer": 1005})");
    row("command-a2", "{}");
    row("raw -n 0 1801", R"({"sent": "18 01", "blocks": []})");
}

void CommandsTest::commandsSpeakJson()
{
    QFETCH(QByteArray, expected);
    const QByteArray line = QTest::currentDataTag();
    QJsonObject wanted = QJsonDocument::fromJson(expected).object();
    wanted.insert(QStringLiteral("ok"), true);
    wanted.insert(QStringLiteral("command"), QString::fromUtf8(line.split(' ').first()));
    const Outcome outcome = run(("--virtual --json " + line).constData());
    QCOMPARE(outcome.json(), wanted);
    QCOMPARE(outcome.code, int{Done});
}

void CommandsTest::jsonStaysWholeWhileTheLinkPrintsErrors()
{
    for (const char *const command : every_command) {
        // The first reads fail and print their lines; the link tries again and gets through. The one read of "debug"
        // is not tried again.
        const bool is_tried_once = qstrcmp(command, "debug") == 0;
        const Outcome outcome = run((QByteArray("--virtual=stall*4 --json ") + command).constData());
        QVERIFY2(outcome.err.contains("../../ustest/usctl.cpp:"), command);
        QVERIFY2(outcome.err.contains("GetLastError() = 0x1f\n"), command);
        const QJsonObject json = outcome.json();
        QCOMPARE(json.value(QStringLiteral("ok")).toBool(), !is_tried_once);
        QCOMPARE(outcome.code, int{is_tried_once ? Mute : Done});
    }
}

void CommandsTest::everyFailureIsJson()
{
    for (const char *const command : every_command) {
        const Outcome outcome = run((QByteArray("--virtual=unplug*ever@1 --json ") + command).constData());
        // "debug" has read its block by then.
        if (qstrcmp(command, "debug") == 0)
            continue;
        const QJsonObject json = outcome.json();
        QVERIFY2(!json.value(QStringLiteral("ok")).toBool(true), command);
        const QJsonObject error = json.value(QStringLiteral("error")).toObject();
        QCOMPARE(error.value(QStringLiteral("code")), QJsonValue(QStringLiteral("no-unit")));
        QCOMPARE(error.value(QStringLiteral("exit")).toInt(), outcome.code);
        QVERIFY(!error.value(QStringLiteral("message")).toString().isEmpty());
        QCOMPARE(outcome.code, int{NoUnit});
    }
}

void CommandsTest::faultsEndWithTheirCodes_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("code");
    const auto row = [](const char *command, const char *script, Code code) {
        QTest::addRow("%s, %s", script, command) << QByteArray(command) << QByteArray(script) << int{code};
    };
    // Transfer 0 is the read before the command, 1 the read for readiness, 2 the message, 3 the answer.
    for (const char *const fault : {"stall", "late"}) {
        const QByteArray name = fault;
        row("rate", (name + "@0").constData(), Done);
        row("rate", (name + "@1").constData(), Done);
        row("rate", (name + "*2@2").constData(), Done);
        row("rate", (name + "*3@2").constData(), Mute);
        row("rate", (name + "@3").constData(), Mute);
        row("fader set line-out 1 1", (name + "*2@2").constData(), Done);
        row("fader set line-out 1 1", (name + "*3@2").constData(), Mute);
        row("debug", (name + "@0").constData(), Mute);
    }
    row("rate", "hard@0", Failed);
    row("rate", "hard@1", Done);
    row("rate --timeout 2", "hard@2", Failed);
    row("rate", "hard@3", Failed);
    row("fader set line-out 1 1", "hard@2", Failed);
    row("raw 1801", "hard@2", Failed);
    row("rate", "short:20@0", Done);
    row("rate", "short:20@1", Done);
    row("rate", "short:0@3", Failed);
    row("rate --timeout 2", "short:20*ever", Failed);
    row("rate", "stale@3", Done);
    row("rate --timeout 0.2", "stale*ever@1", Mute);
    row("rate", "garbled@1", Done);
    row("rate --timeout 0.2", "garbled@2", Mute);
    row("rate --timeout 0.2", "garbled@3", Mute);
    row("rate", "busy*3@0", Done);
    row("rate", "busy=3", Done);
    row("rate --timeout 2", "busy*ever", Busy);
    row("rate --timeout 0.2", "mute*ever", Mute);
    row("rate", "mute*3@1", Done);
    row("fader get line-out 4 --timeout 0.2", "hz=44100", Mute);
    for (const char *const at : {"0", "1", "2", "3"}) {
        row("rate", (QByteArray("unplug*ever@") + at).constData(), NoUnit);
        row("rate", (QByteArray("unplug@") + at).constData(), NoUnit);
    }
    row("fader set line-out 1 1", "unplug@2", NoUnit);
    row("routes", "unplug@5", NoUnit);
    row("info", "unplug@9", NoUnit);
    row("firmware IMAGE --yes", "unplug@30", NoUnit);
    row("firmware IMAGE --yes", "stall*3@30", Mute);
}

void CommandsTest::faultsEndWithTheirCodes()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, script);
    QFETCH(int, code);
    const Outcome outcome = run(("--virtual=" + script + ' ' + command).constData());
    QVERIFY2(outcome.code == code, (outcome.out + outcome.err).constData());
    if (code != Done)
        QVERIFY2(outcome.err.contains("kdmxctl: "), outcome.err.constData());
    // Firmware shows what it is going to do before it fails.
    if (code != Done && !command.startsWith("firmware"))
        QCOMPARE(outcome.out, QByteArray());
}

void CommandsTest::unitsThatCannotBeReached_data()
{
    QTest::addColumn<QByteArray>("trace");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("none") << QByteArray("0 find none\n") << int{NoUnit} << QByteArray("No KD-MX unit found.");
    QTest::newRow("gone") << QByteArray("0 find ok\n0 open error 2\n") << int{NoUnit}
                          << QByteArray("There is no unit any more.");
    QTest::newRow("permission") << QByteArray("0 find ok\n0 open error 5\n") << int{NoPermission}
                                << QByteArray("You may not use the unit.");
    QTest::newRow("in use") << QByteArray("0 find ok\n0 open error 32\n") << int{Busy}
                            << QByteArray("Another program is using the unit.");
    QTest::newRow("broken") << QByteArray("0 find ok\n0 read error 1117\n") << int{Failed}
                            << QByteArray("The transfer to or from the unit failed (error 1117).");
}

void CommandsTest::unitsThatCannotBeReached()
{
    QFETCH(QByteArray, trace);
    QFETCH(int, code);
    QFETCH(QByteArray, message);
    write("unreachable", trace);
    // One answer at once: the trace allows no second attempt.
    for (const char *const command : every_command) {
        QStringList list = arguments(command);
        list << QStringLiteral("--replay") << path("unreachable") << QStringLiteral("--json");
        const Outcome outcome = run_kdmxctl(list);
        const QJsonObject error = outcome.json().value(QStringLiteral("error")).toObject();
        QCOMPARE(error.value(QStringLiteral("message")).toString().toUtf8(), message);
        QCOMPARE(error.contains(QStringLiteral("hint")), code == NoUnit || code == NoPermission);
        QCOMPARE(outcome.code, code);
    }
}

void CommandsTest::badArgumentsAreRefused_data()
{
    QTest::addColumn<QByteArray>("message");
    const auto row = [](const char *line, const char *message) { QTest::newRow(line) << QByteArray(message); };
    row("", "A command is missing.");
    row("dance", "dance");
    row("--loud rate", "--loud");
    row("rate 1", "1");
    row("rate routes", "routes");
    row("power-save maybe", "VALUE is on or off, not \"maybe\".");
    row("fader", "required");
    row("fader get line-out", "required");
    row("fader tell line-out 1", "not \"tell\"");
    row("fader get head-phone 1", "one of line-out, master-out, computer-out, analog-in, direct-monitor");
    row("fader get line-out 0", "NUMBER is a number from 1 to 255, not \"0\".");
    row("fader get line-out 256", "NUMBER is a number from 1 to 255");
    row("fader get line-out one", "NUMBER is a number from 1 to 255");
    row("fader get line-out 1 5", "get takes no VALUE.");
    row("fader set line-out 1", "set needs a VALUE.");
    row("fader set line-out 1 256", "VALUE is a number from 0 to 255, not \"256\".");
    row("fader set line-out 1 0x", "VALUE is a number from 0 to 255");
    row("fader set line-out 1 7x", "VALUE is a number from 0 to 255");
    row("mute set line-out 1 2", "VALUE is on or off");
    row("stereo set line-out 1 quad", "VALUE is mono, stereo or a number from 0 to 255");
    row("route line-out 1 master-out", "required");
    row("route line-out 1 roof 1", "DST is one of");
    row("route line-out 1 line-out 0", "NUMBER of the DST is a number from 1 to 255");
    row("set-u8 256", "VALUE is a number from 0 to 255");
    row("set-u32 4294967296", "VALUE is a number from 0 to 4294967295");
    row("query 99999999999999999999", "VALUE is a number from 0 to 4294967295");
    row("raw", "required");
    row("raw 310", "HEX is pairs of hexadecimal digits, not \"310\".");
    row("raw zz", "HEX is pairs of hexadecimal digits");
    row("raw +1", "HEX is pairs of hexadecimal digits");
    row("raw -n 1001 00", "BLOCKS is a number from 0 to 1000");
    row("--timeout 0 rate", "--timeout");
    row("--timeout nan rate", "--timeout");
    row("--timeout soon rate", "--timeout");
    row("--virtual=dance rate", "script of --virtual");
    row("--virtual hz=many rate", "script of --virtual");
    row("--replay /no/such/trace rate", "/no/such/trace");
    row("--replay / rate", "The trace / cannot be read.");
    row("--replay a --virtual rate", "not both");
    row("--log /no/such/log rate", "/no/such/log");
    row("--trace=/no/such/trace rate", "/no/such/trace");
    row("--verify rate", "--verify");
    row("--verify fader get line-out 1", "--verify");
    row("--verify set-u8 1", "--verify");
    row("firmware IMAGE", "--yes");
}

void CommandsTest::badArgumentsAreRefused()
{
    QFETCH(QByteArray, message);
    const QByteArray line = QTest::currentDataTag();
    const QByteArray unit = line.contains("--virtual") || line.contains("--replay") ? "" : "--virtual ";
    const Outcome for_people = run((unit + line).constData());
    QVERIFY2(for_people.err.contains(message), for_people.err.constData());
    QCOMPARE(for_people.out, QByteArray());
    QCOMPARE(for_people.code, int{BadArgument});

    const Outcome for_programs = run((unit + line + " --json").constData());
    const QJsonObject error = for_programs.json().value(QStringLiteral("error")).toObject();
    QCOMPARE(error.value(QStringLiteral("code")), QJsonValue(QStringLiteral("bad-argument")));
    QCOMPARE(for_programs.code, int{BadArgument});
}

void CommandsTest::verifyingSeesALostSetting_data()
{
    QTest::addColumn<QByteArray>("message");
    const auto row = [](const char *line, const char *message) { QTest::newRow(line) << QByteArray(message); };
    row("fader set line-out 1 7", "line-out 1: fader was set to 7, but the unit reports 111.");
    row("mute set line-out 1 on", "line-out 1: mute was set to on, but the unit reports off.");
    row("stereo set analog-in 1 stereo", "analog-in 1: stereo was set to stereo, but the unit reports mono.");
    row("power-save off", "Auto power save was set to off, but the unit reports on.");
    row("route analog-in 2 line-out 1",
        "The route was set to analog-in 2 -> line-out 1, but the unit reports no such route.");
}

void CommandsTest::verifyingSeesALostSetting()
{
    QFETCH(QByteArray, message);
    const QByteArray line = QTest::currentDataTag();
    // The message with the setting reaches the unit as nonsense.
    const Outcome outcome = run(("--virtual=garbled@2 --verify " + line).constData());
    QCOMPARE(outcome.err, "kdmxctl: " + message + '\n');
    QCOMPARE(outcome.code, int{Failed});
    QCOMPARE(run(("--virtual=garbled@2 " + line).constData()).code, int{Done});
}

void CommandsTest::aSettingThatCannotBeSentIsNoSuccess()
{
    // The link counts a message that failed for good as sent.
    for (const char *const command :
         {"power-save off", "fader set line-out 1 7", "mute set line-out 1 on", "stereo set line-out 1 mono",
          "route analog-in 1 line-out 1", "set-u8 1", "set-u32 1", "command-a2", "raw 00"})
        QCOMPARE(run((QByteArray("--virtual=hard@2 ") + command).constData()).code, int{Failed});
}

void CommandsTest::timeoutsTellWhatWasSeen_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("busy") << QByteArray("busy*ever") << int{Busy}
                          << QByteArray("The unit is busy and did not get ready within 1 s.");
    QTest::newRow("mute") << QByteArray("mute*ever") << int{Mute} << QByteArray("The unit did not answer within 1 s.");
    QTest::newRow("stall") << QByteArray("stall*ever") << int{Mute}
                           << QByteArray("The unit did not answer within 1 s.");
}

void CommandsTest::timeoutsTellWhatWasSeen()
{
    QFETCH(QByteArray, script);
    QFETCH(int, code);
    QFETCH(QByteArray, message);
    const Outcome outcome = run(("--virtual=" + script + " --timeout 1 query 1").constData());
    QVERIFY2(outcome.err.endsWith("kdmxctl: " + message + '\n'), outcome.err.constData());
    // The link's lines about transfers that are refused when the time is up are of no use.
    QVERIFY2(!outcome.err.contains("0x3e3"), outcome.err.constData());
    QCOMPARE(outcome.code, code);
}

void CommandsTest::readyInTheSameBlockIsNotBusy()
{
    // It gets ready within each block, and answers none of the reads that a query waits for.
    const QByteArray block = "0 read ok a1 02 00 a1 02 01 00*58\n";
    write("silent", "0 find ok\n" + block.repeated(2) + "0 write ok 27 04 01 00*5\n" + block.repeated(3000));
    const Outcome outcome = run_kdmxctl(QStringList{QStringLiteral("--replay"), path("silent")} + words("query 1"));
    QCOMPARE(outcome.err, QByteArray("kdmxctl: The unit does not answer.\n"));
    QCOMPARE(outcome.code, int{Mute});
}

void CommandsTest::tracesCanBeReplayed_data()
{
    QTest::addColumn<QByteArray>("script");
    for (const char *const command : every_command)
        QTest::addRow("%s", command) << QByteArray();
    QTest::addRow("fader set line-out 1 7 --verify") << QByteArray("busy=2");
    QTest::addRow("rate") << QByteArray("stall,late@1,hard@2");
    QTest::addRow("query 1") << QByteArray("short:20@1,garbled@2");
    QTest::addRow("info") << QByteArray("debug=a;b#c");
    QTest::addRow("mute get line-out 1") << QByteArray("unplug@3");
}

void CommandsTest::tracesCanBeReplayed()
{
    QFETCH(QByteArray, script);
    QStringList list = arguments(QTest::currentDataTag());
    const QString trace = path("trace");
    const Outcome traced = run_kdmxctl(
        QStringList{QStringLiteral("--trace=") + trace, QStringLiteral("--virtual=") + QString::fromUtf8(script)}
        + list);
    const Outcome replayed = run_kdmxctl(QStringList{QStringLiteral("--replay"), trace} + list);
    QCOMPARE(replayed.out, traced.out);
    QCOMPARE(replayed.code, traced.code);
    QVERIFY2(!replayed.err.contains("differ"), replayed.err.constData());

    // The trace of a replay tells the same transfers.
    const QString second_trace = path("second-trace");
    run_kdmxctl(QStringList{QStringLiteral("--replay"), trace, QStringLiteral("--trace=") + second_trace} + list);
    const auto transfers = [](const QString &name) {
        QFile file(name);
        [&] { QVERIFY(file.open(QIODevice::ReadOnly)); }();
        QByteArrayList lines = file.readAll().split('\n').mid(1);
        for (QByteArray &line : lines)
            line = line.mid(8);
        return lines;
    };
    QCOMPARE(transfers(second_trace), transfers(trace));
    QVERIFY(transfers(trace).size() > 2);
}

void CommandsTest::deviationsFromATraceFail_data()
{
    QTest::addColumn<QByteArray>("trace");
    QTest::addColumn<int>("line");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<QByteArray>("actual");
    const QByteArray head = "0 find ok\n0 read ok a1 02 01 00*61\n0 read ok a1 02 01 00*61\n";
    const QByteArray all_of_it = head + "0 write ok 13 02 07 00 00\n";
    QTest::newRow("other bytes") << head + "0 write ok 13 02 08 00 00\n"
                                 << 4 << QByteArray("write 13 02 08 00 00") << QByteArray("write 13 02 07 00 00");
    QTest::newRow("longer message") << head + "0 write ok 13 02 07\n"
                                    << 4 << QByteArray("write 13 02 07") << QByteArray("write 13 02 07 00 00");
    QTest::newRow("read for write") << head + "\n# and then\n0 read ok 01\n"
                                    << 6 << QByteArray("read 01") << QByteArray("write 13 02 07 00 00");
    QTest::newRow("write for read") << QByteArray("0 find ok\n0 write ok 01\n") << 2 << QByteArray("write 01")
                                    << QByteArray("read");
    QTest::newRow("end of trace") << head << 0 << QByteArray("nothing more") << QByteArray("write 13 02 07 00 00");
    QTest::newRow("nothing at all") << QByteArray() << 0 << QByteArray("nothing more") << QByteArray("find");
    QTest::newRow("no search") << QByteArray("0 read ok 01\n") << 1 << QByteArray("read 01") << QByteArray("find");
    QTest::newRow("end of command") << all_of_it + "0 read ok 01\n"
                                    << 5 << QByteArray("read 01") << QByteArray("nothing more");
    QTest::newRow("second search") << QByteArray("0 find ok\n0 find ok\n") << 2 << QByteArray("find")
                                   << QByteArray("read");
}

void CommandsTest::deviationsFromATraceFail()
{
    QFETCH(QByteArray, trace);
    QFETCH(int, line);
    QFETCH(QByteArray, expected);
    QFETCH(QByteArray, actual);
    write("deviating", trace);
    QStringList list = {QStringLiteral("--replay"), path("deviating"), QStringLiteral("set-u8"), QStringLiteral("7")};
    const Outcome for_people = run_kdmxctl(list);
    QVERIFY2(for_people.err.contains("\n  trace:   " + expected + "\n  command: " + actual + '\n'),
             for_people.err.constData());
    QCOMPARE(for_people.out, QByteArray());
    QCOMPARE(for_people.code, int{Failed});

    const QJsonObject error =
        run_kdmxctl(list << QStringLiteral("--json")).json().value(QStringLiteral("error")).toObject();
    QCOMPARE(error.value(QStringLiteral("line")).toInt(), line);
    QCOMPARE(error.value(QStringLiteral("expected")).toString().toUtf8(), expected);
    QCOMPARE(error.value(QStringLiteral("actual")).toString().toUtf8(), actual);
}

void CommandsTest::tracesShowFailures()
{
    const QByteArray err = run("--virtual=stall@0,short:2@1,unplug@3 --trace rate").err;
    for (const char *const text : {"# kdmxctl --virtual=stall@0,short:2@1,unplug@3 --trace rate\n", " find  ok\n",
                                   " read  error 31\n", " read  ok a1 02 ; ready is cut short at byte 0\n",
                                   " read  ok a1 02 01 00*61 ; ready 1\n", " write error 1167 18 01 00 00 ; rate\n"})
        QVERIFY2(err.contains(text), err.constData());
}

void CommandsTest::logsTakeTheLinkLines()
{
    const QString log = path("log");
    for (int run_number = 1; run_number <= 2; ++run_number) {
        const Outcome outcome =
            run_kdmxctl(QStringList{QStringLiteral("--log"), log} + words("--virtual=stall,debug=hello rate"));
        QCOMPARE(outcome.out, QByteArray("48000 Hz\n"));
        QCOMPARE(outcome.err, QByteArray());
        QFile file(log);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll().count("GetLastError() = 0x1f\n"), run_number);
    }
    QVERIFY(run("--virtual=stall --log - rate").err.contains("GetLastError() = 0x1f\n"));
    // Debug text in the block that is read before the command is not lost.
    QVERIFY(run("--virtual=debug=hello --log - rate").err.contains("\ndbg:hello\n"));
}

void CommandsTest::textsOfTheUnitAreHarmless()
{
    // A debug text with an escape sequence, a line end, and a byte that is no UTF-8.
    write("harmful", "0 find ok\n0 read ok 12 05 07 1b 5b 32 4a 0a ff 41 00*54\n");
    const QStringList list = {QStringLiteral("--replay"), path("harmful"), QStringLiteral("debug")};
    QCOMPARE(run_kdmxctl(list).out,
             QByteArray("\\x1b[2J\\x0a\xff"
                        "A\n"));
    const QJsonObject json = run_kdmxctl(list + words("--json")).json();
    QCOMPARE(json.value(QStringLiteral("debug")).toString(),
             QStringLiteral("\x1b[2J\n\uFFFD"
                            "A"));
}

void CommandsTest::scriptsMayStandApart()
{
    QCOMPARE(run("--virtual hz=96000 rate").out, QByteArray("96000 Hz\n"));
    QCOMPARE(run("rate --virtual hz=96000").out, QByteArray("96000 Hz\n"));
    QCOMPARE(run("--virtual stall rate").out, QByteArray("48000 Hz\n"));
    // "mute" is a command first.
    QCOMPARE(run("--virtual mute get line-out 1").out, QByteArray("line-out 1: mute off\n"));
    QCOMPARE(run("--virtual=mute*3@1 rate").out, QByteArray("48000 Hz\n"));
    QCOMPARE(run("fader get line-out --virtual 1").out, QByteArray("line-out 1: fader 111\n"));
}

void CommandsTest::firmwareTellsWhatItMoves()
{
    const Outcome outcome = run("--virtual=allowance=100 firmware IMAGE --yes");
    QVERIFY(outcome.out.startsWith("Unit              KD-MX2\nFirmware version  291 (0x0123)\n"));
    QVERIFY(outcome.out.contains("\nSize              1000 bytes\n"));
    QVERIFY(outcome.out.endsWith("The unit has confirmed the image.\n"));
    for (int tenth = 1; tenth <= 10; ++tenth) {
        const QByteArray line = "kdmxctl: " + QByteArray::number(tenth * 10).rightJustified(3) + " %  "
            + QByteArray::number(tenth * 100).rightJustified(4) + " of 1000 bytes\n";
        QCOMPARE(outcome.err.count(line), 1);
    }
    QCOMPARE(outcome.code, int{Done});

    const QJsonObject json = run("--virtual firmware IMAGE -y --json").json();
    // As "crc32 < image" of other programs.
    QCOMPARE(json.value(QStringLiteral("crc32")).toString(), QStringLiteral("114ad5ff"));
    QCOMPARE(json.value(QStringLiteral("size")).toInt(), 1000);
    QCOMPARE(json.value(QStringLiteral("sent")).toInt(), 1000);
    QCOMPARE(json.value(QStringLiteral("confirmed")).toBool(), true);
}

void CommandsTest::firmwareIsConfirmedByTheUnit_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {1, 10, 59, 60, 61, 62, 122, 123, 4096})
        QTest::addRow("%d bytes", size) << size;
}

void CommandsTest::firmwareIsConfirmedByTheUnit()
{
    QFETCH(int, size);
    write("sized", QByteArray(size, 'x'));
    const QStringList list = words("--virtual=allowance=61 --json firmware --yes");
    const Outcome outcome = run_kdmxctl(list + QStringList{path("sized")});
    QCOMPARE(outcome.json().value(QStringLiteral("sent")).toInt(), size);
    QCOMPARE(outcome.code, int{Done});
}

void CommandsTest::badImagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("missing") << QByteArray("There is no image ");
    QTest::newRow("empty") << QByteArray(" is empty.");
    QTest::newRow("folder") << QByteArray(" is not a file.");
    QTest::newRow("huge") << QByteArray(" is larger than a unit can take");
}

void CommandsTest::badImagesAreRefused()
{
    QFETCH(QByteArray, message);
    const char *const name = QTest::currentDataTag();
    QVERIFY(QDir(m_folder.path()).mkpath(QStringLiteral("folder")));
    write("empty", {});
    QFile huge(path("huge"));
    // A hole: it takes no room on the disk.
    QVERIFY(huge.open(QIODevice::WriteOnly));
    QVERIFY(huge.resize(qint64{1} << 32));
    const Outcome outcome = run_kdmxctl(words("--virtual firmware --yes") + QStringList{path(name)});
    QVERIFY2(outcome.err.contains(message), outcome.err.constData());
    QCOMPARE(outcome.code, int{BadArgument});
}

QTEST_GUILESS_MAIN(CommandsTest)
#include "commands_test.moc"
