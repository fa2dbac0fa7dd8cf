#include "debuglines.h"
#include "front.h"
#include "unitcontrols.h"

#include <QtTest>

/// What a window calls, down to the messages that the unit gets.
class UnitControlsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changesAreLoggedAndSent_data();
    void changesAreLoggedAndSent();
    void questionsAreSentWithoutALine();
    void otherInputsAreLoggedAndNotSent();
};

namespace {

using Change = void (*)(UnitControls *controls);
using Bytes = Front::Bytes;

} // namespace

void UnitControlsTest::changesAreLoggedAndSent_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<Bytes>("message");
    const auto row = [](const char *line, Change change, const Bytes &message) {
        QTest::newRow(line) << change << QByteArray(line) << message;
    };
    row("Direct Monitor 1-2:STEREO:3", [](UnitControls *c) { c->monitorStereo(true, 3); },
        {0x61, 2, 5, 0x62, 2, 1, 0x86, 2, 4, 0, 0});
    row("Direct Monitor 1-2:MONO:0", [](UnitControls *c) { c->monitorStereo(false, 0); },
        {0x61, 2, 5, 0x62, 2, 1, 0x86, 2, 1, 0, 0});
    row("Input Volume:200", [](UnitControls *c) { c->inputVolume(200); }, {0x61, 2, 5, 0x62, 2, 1, 0x81, 2, 200, 0, 0});
    row("Auto Power Save:TRUE", [](UnitControls *c) { c->autoPowerSave(true); }, {0x15, 2, 1, 0, 0});
    row("Auto Power Save:FALSE", [](UnitControls *c) { c->autoPowerSave(false); }, {0x15, 2, 0, 0, 0});
    row("Audio Input1:FALSE", [](UnitControls *c) { c->audioInput(1, false); },
        {0x61, 2, 4, 0x62, 2, 1, 0x83, 2, 1, 0, 0});
    row("Audio Input2:FALSE", [](UnitControls *c) { c->audioInput(2, false); },
        {0x61, 2, 4, 0x62, 2, 2, 0x83, 2, 1, 0, 0});
    // The first value is compared with 0, which is what "on" sends.
    row("Audio Input1:TRUE", [](UnitControls *c) { c->audioInput(1, true); }, {});
}

void UnitControlsTest::changesAreLoggedAndSent()
{
    QFETCH(Change, change);
    QFETCH(QByteArray, line);
    QFETCH(Bytes, message);
    Front front;
    UnitControls controls(&front.device);
    front.deliverReady();
    const DebugLines lines;
    change(&controls);
    QCOMPARE(DebugLines::take(), QStringList({QString::fromLatin1(line)}));
    QCOMPARE(front.sent, message.empty() ? std::vector<Bytes>() : std::vector<Bytes>({message}));
}

void UnitControlsTest::questionsAreSentWithoutALine()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    const DebugLines lines;
    Front front;
    UnitControls controls(&front.device);
    controls.requestVersion();
    controls.requestSampleRate();
    controls.requestAutoPowerSave();
    controls.requestStereo();
    controls.requestMutes();
    controls.requestFader();
    front.deliverReady();
    QCOMPARE(front.sent, std::vector<Bytes>({{0x31, 1, 0x18, 1,    0x14, 1, 0x61, 2, 5, 0x62, 2, 1, 0xC6, 2, 0,
                                              0x61, 2, 4,    0x62, 2,    1, 0xC3, 2, 0, 0x61, 2, 4, 0x62, 2, 2,
                                              0xC3, 2, 0,    0x61, 2,    5, 0x62, 2, 1, 0xC1, 2, 0, 0,    0}}));
    QCOMPARE(DebugLines::take(), QStringList());
}

void UnitControlsTest::otherInputsAreLoggedAndNotSent()
{
    Front front;
    UnitControls controls(&front.device);
    front.deliverReady();
    const DebugLines lines;
    controls.audioInput(3, false);
    QCOMPARE(DebugLines::take(), QStringList({QStringLiteral("Audio Input3:FALSE")}));
    QVERIFY(front.sent.empty());
}

QTEST_GUILESS_MAIN(UnitControlsTest)
#include "unitcontrols_test.moc"
