#include "announcements.h"
#include "front.h"

#include <QtTest>

#include <functional>

/// The front by itself: requests, states and what it makes of the unit's blocks.
class QUSDeviceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void elementsAreAnnounced_data();
    void elementsAreAnnounced();
    void channelsAreForgottenBetweenBlocks();
    void valuesOfSeveralChannelsAreToldApart();
    void readingEndsAtAnIdentifierOfZero();
    void readingEndsAtABadElement();
    void longDataIsReadInBlocks();
    void emptyDataIsNoReport();
    void requestWhileNotReadyOnlyReads();
    void readyUnitGetsTheRequest();
    void readyFlagHasAnyType_data();
    void readyFlagHasAnyType();
    void everyRequestLeadsToItsMessage_data();
    void everyRequestLeadsToItsMessage();
    void requestsThatWaitShareAMessage();
    void requestDuringASendFollowsInTheNextMessage();
    void sendClearsTheReadyFlag();
    void unitThatIsReadyTwiceGetsARequestOnce();
    void busyUnitGetsNothing();
    void readsDoNotPileUp();
    void equalInputSwitchSendsNothing();
    void otherChannelsAreRefused();
    void failedResultsResetTheIdentity();
    void failedReadStillAsksAgain();
    void resetSendsNothing();
    void signalsAndSlotsHaveTheirPlaces();
    void queuedSignalsCarryTheChannel();
};

namespace {

using Bytes = Front::Bytes;

const QStringList unknownIdentity = {QStringLiteral("version 0"), QStringLiteral("build 0"),
                                     QStringLiteral("product ''"), QStringLiteral("date ''"),
                                     QStringLiteral("time ''")};

QStringList line(const char *text)
{
    return {QString::fromUtf8(text)};
}

} // namespace

void QUSDeviceTest::elementsAreAnnounced_data()
{
    QTest::addColumn<QByteArray>("elements");
    QTest::addColumn<QStringList>("announced");
    const auto row = [](const char *name, const Bytes &elements, const QStringList &announced) {
        QTest::newRow(name) << QByteArray(reinterpret_cast<const char *>(elements.data()),
                                          static_cast<qsizetype>(elements.size()))
                            << announced;
    };
    row("fader", {0x61, 2, 5, 0x62, 2, 1, 0xC1, 2, 200}, line("fader 5/1 200"));
    row("fader, low byte of a wide number", {0x61, 2, 5, 0x62, 2, 1, 0xC1, 3, 0x34, 0x12}, line("fader 5/1 52"));
    row("fader without a channel", {0xC1, 2, 9}, line("fader 0/0 9"));
    row("fader without a value", {0xC1, 1}, line("fader 0/0 0"));
    row("mute off", {0x61, 2, 4, 0x62, 2, 2, 0xC3, 2, 0}, line("mute 4/2 0"));
    row("mute on", {0x61, 2, 4, 0x62, 2, 2, 0xC3, 2, 7}, line("mute 4/2 1"));
    row("mute, wide number with a low byte of 0", {0xC3, 3, 0, 1}, line("mute 0/0 1"));
    row("stereo", {0x61, 2, 5, 0x62, 2, 1, 0xC6, 2, 4}, line("stereo 5/1 4"));
    row("stereo mode that has no name", {0xC6, 2, 77}, line("stereo 0/0 77"));
    row("channel in wide numbers", {0x61, 3, 4, 0, 0x62, 4, 2, 0, 0, 0, 0xC3, 2, 1}, line("mute 4/2 1"));
    row("sample rate", {0x18, 4, 0x00, 0x77, 0x01, 0x00}, line("hz 96000"));
    row("sample rate as a byte", {0x18, 2, 8}, line("hz 8"));
    row("auto power save on, 20", {0x14, 2, 3}, line("autopowersave 1"));
    row("auto power save off, 21", {0x15, 2, 0}, line("autopowersave 0"));
    row("auto power save of other types", {0x14, 1, 0x15, 3, 1, 0, 0x15, 4, 1, 0, 0, 0, 0x15, 5, 1, 'x'}, {});
    row("version", {0x32, 3, 0x34, 0x12}, line("version 4660"));
    row("version, low bytes of a wide number", {0x32, 4, 0x34, 0x12, 1, 0}, line("version 4660"));
    row("build", {0x33, 3, 6, 0}, line("build 6"));
    row("product name", {0x34, 5, 3, 'M', 'X', '2'}, line("product 'MX2'"));
    row("product name in UTF-8", {0x34, 5, 2, 0xC3, 0xA9}, line("product 'é'"));
    row("product name with a zero byte", {0x34, 5, 3, 'a', 0, 'b'},
        {QStringLiteral("product 'a") + QChar(u'\0') + QStringLiteral("b'")});
    row("product name, empty", {0x34, 5, 0}, line("product ''"));
    row("product name of another type", {0x34, 2, 1}, line("product ''"));
    row("build date", {0x35, 5, 2, 'd', '1'}, line("date 'd1'"));
    row("build date of another type", {0x35, 4, 1, 2, 3, 4}, line("date ''"));
    row("build time", {0x36, 5, 2, 't', '1'}, line("time 't1'"));
    row("build time of another type", {0x36, 1}, line("time ''"));
    row("debug text", {0x12, 5, 2, 'o', 'k'}, line("debug 'ok'"));
    row("debug text of another type", {0x12, 2, 65}, line("debug ''"));
    row("numbers as byte strings", {0x18, 5, 2, 1, 2, 0x32, 5, 1, 1, 0x33, 5, 1, 1},
        {line("hz 0") + line("version 0") + line("build 0")});
    row("channel as byte strings", {0x61, 5, 1, 4, 0x62, 5, 1, 2, 0xC3, 2, 1}, line("mute 0/0 1"));
    row("values of a channel as byte strings", {0xC1, 5, 1, 9, 0xC3, 5, 1, 1, 0xC6, 5, 1, 4},
        {line("fader 0/0 0") + line("mute 0/0 0") + line("stereo 0/0 0")});
    row("stereo as a wide number", {0xC6, 3, 4, 1}, line("stereo 0/0 260"));
    row("what nobody knows", {0x28, 4, 1, 2, 3, 4, 0x37, 5, 1, 'x', 0xFE, 1}, {});
}

void QUSDeviceTest::elementsAreAnnounced()
{
    QFETCH(QByteArray, elements);
    QFETCH(QStringList, announced);
    Front front;
    Announcements announcements(&front.device);
    front.device.recv_us_recv_result(true, elements);
    QCOMPARE(announcements.take(), announced);
}

void QUSDeviceTest::channelsAreForgottenBetweenBlocks()
{
    Front front;
    Announcements announcements(&front.device);
    front.deliver({0x61, 2, 4, 0x62, 2, 2, 0xC3, 2, 1});
    front.deliver({0xC3, 2, 1});
    QCOMPARE(announcements.take(), line("mute 4/2 1") + line("mute 0/0 1"));
}

void QUSDeviceTest::valuesOfSeveralChannelsAreToldApart()
{
    Front front;
    Announcements announcements(&front.device);
    front.deliver({0x61, 2, 4, 0x62, 2, 1, 0xC3, 2, 1, 0x62, 2, 2, 0xC3, 2, 0, 0x61, 2, 5, 0xC1, 2, 3});
    QCOMPARE(announcements.take(), line("mute 4/1 1") + line("mute 4/2 0") + line("fader 5/2 3"));
}

void QUSDeviceTest::readingEndsAtAnIdentifierOfZero()
{
    Front front;
    Announcements announcements(&front.device);
    front.deliver({0x32, 3, 1, 0, 0x00, 2, 9, 0x33, 3, 2, 0});
    QCOMPARE(announcements.take(), line("version 1"));
}

void QUSDeviceTest::readingEndsAtABadElement()
{
    Front front;
    Announcements announcements(&front.device);
    front.deliver({0x32, 3, 1, 0, 0x33, 6, 2, 0, 0x33, 3, 2, 0});
    QCOMPARE(announcements.take(), line("version 1"));
}

void QUSDeviceTest::longDataIsReadInBlocks()
{
    Front front;
    Announcements announcements(&front.device);
    // An element across the border of two blocks does not count; the channel named in one block holds in the next.
    QByteArray data(2 * USMSG_MAX_SIZE, '\0');
    data.replace(0, 6, QByteArray("\x61\x02\x04\x62\x02\x02", 6));
    data.replace(USMSG_MAX_SIZE, 3, QByteArray("\xC3\x02\x01", 3));
    data.append("\x32\x03", 2);
    front.device.recv_us_recv_result(true, data);
    QCOMPARE(announcements.take(), line("mute 4/2 1"));
}

void QUSDeviceTest::emptyDataIsNoReport()
{
    Front front;
    Announcements announcements(&front.device);
    front.device.recv_us_recv_result(true, QByteArray());
    QCOMPARE(announcements.take(), QStringList());
}

void QUSDeviceTest::requestWhileNotReadyOnlyReads()
{
    Front front;
    front.device.request_hz();
    QCOMPARE(front.reads, 1);
    QVERIFY(front.sent.empty());
}

void QUSDeviceTest::readyUnitGetsTheRequest()
{
    Front front;
    front.device.request_hz();
    front.deliverReady();
    QCOMPARE(front.sent, std::vector<Bytes>({{0x18, 1, 0, 0}}));
    QCOMPARE(front.reads, 1);
}

void QUSDeviceTest::readyFlagHasAnyType_data()
{
    QTest::addColumn<std::vector<uint8_t>>("flag");
    QTest::addColumn<bool>("isReady");
    QTest::newRow("byte") << Bytes{0xA1, 2, 7} << true;
    QTest::newRow("byte, 0") << Bytes{0xA1, 2, 0} << false;
    QTest::newRow("16 bits, low byte 0") << Bytes{0xA1, 3, 0, 1} << true;
    QTest::newRow("16 bits, 0") << Bytes{0xA1, 3, 0, 0} << false;
    QTest::newRow("32 bits, low bytes 0") << Bytes{0xA1, 4, 0, 0, 0, 1} << true;
    QTest::newRow("32 bits, 0") << Bytes{0xA1, 4, 0, 0, 0, 0} << false;
    QTest::newRow("without a value") << Bytes{0xA1, 1} << false;
    QTest::newRow("byte string") << Bytes{0xA1, 5, 1, 1} << false;
}

void QUSDeviceTest::readyFlagHasAnyType()
{
    QFETCH(std::vector<uint8_t>, flag);
    QFETCH(bool, isReady);
    Front front;
    front.device.request_hz();
    front.deliver(flag);
    QCOMPARE(front.sent.size(), size_t{isReady ? 1U : 0U});
}

void QUSDeviceTest::everyRequestLeadsToItsMessage_data()
{
    QTest::addColumn<std::function<void(QUSDevice *)>>("request");
    QTest::addColumn<std::vector<uint8_t>>("message");
    const auto row = [](const char *name, const std::function<void(QUSDevice *)> &request, const Bytes &message) {
        QTest::newRow(name) << request << message;
    };
    row("version", &QUSDevice::request_version, {0x31, 1, 0, 0});
    row("sample rate", &QUSDevice::request_hz, {0x18, 1, 0, 0});
    row("auto power save", &QUSDevice::request_autopowersave, {0x14, 1, 0, 0});
    row("stereo", &QUSDevice::request_stereo, {0x61, 2, 5, 0x62, 2, 1, 0xC6, 2, 0, 0, 0});
    row("mutes", &QUSDevice::request_mute,
        {0x61, 2, 4, 0x62, 2, 1, 0xC3, 2, 0, 0x61, 2, 4, 0x62, 2, 2, 0xC3, 2, 0, 0, 0});
    row("fader", &QUSDevice::request_fader, {0x61, 2, 5, 0x62, 2, 1, 0xC1, 2, 0, 0, 0});
    row("set auto power save", [](QUSDevice *d) { d->set_autopowersave(1); }, {0x15, 2, 1, 0, 0});
    row("clear auto power save", [](QUSDevice *d) { d->set_autopowersave(0); }, {0x15, 2, 0, 0, 0});
    row("set monitor mode", [](QUSDevice *d) { d->set_monitor_mode(4); }, {0x61, 2, 5, 0x62, 2, 1, 0x86, 2, 4, 0, 0});
    row("set monitor mode, low byte", [](QUSDevice *d) { d->set_monitor_mode(0x1234); },
        {0x61, 2, 5, 0x62, 2, 1, 0x86, 2, 0x34, 0, 0});
    row("set 32-bit setting", [](QUSDevice *d) { d->set_u32(0x01020304); }, {0x17, 4, 4, 3, 2, 1, 0, 0});
    row("set input switch 1", [](QUSDevice *d) { d->set_input_switch(4, 1, 1); },
        {0x61, 2, 4, 0x62, 2, 1, 0x83, 2, 1, 0, 0});
    row("set input switch 2", [](QUSDevice *d) { d->set_input_switch(4, 2, 1); },
        {0x61, 2, 4, 0x62, 2, 2, 0x83, 2, 1, 0, 0});
    row("set input volume", [](QUSDevice *d) { d->set_input_volume(5, 1, 99); },
        {0x61, 2, 5, 0x62, 2, 1, 0x81, 2, 99, 0, 0});
}

void QUSDeviceTest::everyRequestLeadsToItsMessage()
{
    QFETCH(std::function<void(QUSDevice *)>, request);
    QFETCH(std::vector<uint8_t>, message);
    Front front;
    front.deliverReady();
    request(&front.device);
    QCOMPARE(front.sent, std::vector<Bytes>({message}));
    QCOMPARE(front.reads, 0);
}

void QUSDeviceTest::requestsThatWaitShareAMessage()
{
    Front front;
    front.device.request_fader();
    front.device.set_autopowersave(1);
    front.device.request_version();
    front.deliverReady();
    QCOMPARE(front.sent, std::vector<Bytes>({{0x31, 1, 0x61, 2, 5, 0x62, 2, 1, 0xC1, 2, 0, 0x15, 2, 1, 0, 0}}));
}

void QUSDeviceTest::requestDuringASendFollowsInTheNextMessage()
{
    Front front;
    front.deliverReady();
    front.device.request_hz();
    front.deliverReady(); // of a read that came before the send's result
    front.device.request_version();
    QCOMPARE(front.sent.size(), size_t(1));
    front.device.recv_us_send_result(true);
    QCOMPARE(front.sent, std::vector<Bytes>({{0x18, 1, 0, 0}, {0x31, 1, 0, 0}}));
}

void QUSDeviceTest::sendClearsTheReadyFlag()
{
    Front front;
    front.deliverReady();
    front.device.request_hz();
    front.device.recv_us_send_result(true);
    front.device.request_version();
    QCOMPARE(front.sent.size(), size_t(1));
    QCOMPARE(front.reads, 1);
    front.deliverReady();
    QCOMPARE(front.sent.size(), size_t(2));
}

void QUSDeviceTest::unitThatIsReadyTwiceGetsARequestOnce()
{
    Front front;
    front.deliverReady();
    front.deliverReady();
    front.device.request_hz();
    QCOMPARE(front.sent.size(), size_t(1));
}

void QUSDeviceTest::busyUnitGetsNothing()
{
    Front front;
    front.deliverReady();
    front.deliver({0xA1, 2, 0});
    front.device.request_hz();
    QVERIFY(front.sent.empty());
    QCOMPARE(front.reads, 1);
}

void QUSDeviceTest::readsDoNotPileUp()
{
    Front front;
    for (int request = 0; request < 10; ++request)
        front.device.request_hz();
    QCOMPARE(front.reads, 1);
    front.deliver({0xA1, 2, 0});
    QCOMPARE(front.reads, 2);
    front.deliver({0xA1, 2, 0});
    QCOMPARE(front.reads, 2);
}

void QUSDeviceTest::equalInputSwitchSendsNothing()
{
    Front front;
    front.deliverReady();
    QVERIFY(front.device.set_input_switch(4, 1, 0));
    QVERIFY(front.device.set_input_volume(5, 1, 0));
    QVERIFY(front.sent.empty());
    QVERIFY(front.device.set_input_switch(4, 1, 1));
    QVERIFY(front.device.set_input_switch(4, 1, 1));
    QCOMPARE(front.sent.size(), size_t(1));
    QCOMPARE(front.reads, 0);
}

void QUSDeviceTest::otherChannelsAreRefused()
{
    Front front;
    front.deliverReady();
    for (const auto &[ch, ch_no] : std::vector<std::pair<uint32_t, uint8_t>>{{4, 0}, {4, 3}, {5, 1}, {0, 1}, {260, 1}})
        QVERIFY(!front.device.set_input_switch(ch, ch_no, 1));
    for (const auto &[ch, ch_no] : std::vector<std::pair<uint32_t, uint8_t>>{{5, 0}, {5, 2}, {4, 1}, {0, 1}, {261, 1}})
        QVERIFY(!front.device.set_input_volume(ch, ch_no, 1));
    QVERIFY(front.sent.empty());
    // What was refused was not stored either.
    front.device.request_hz();
    QCOMPARE(front.sent, std::vector<Bytes>({{0x18, 1, 0, 0}}));
}

void QUSDeviceTest::failedResultsResetTheIdentity()
{
    Front front;
    Announcements announcements(&front.device);
    front.device.recv_us_send_result(false);
    QCOMPARE(announcements.take(), unknownIdentity);
    // The bytes of a failed read mean nothing.
    front.device.recv_us_recv_result(false, QByteArray("\x32\x03\x01\x00", 4));
    QCOMPARE(announcements.take(), unknownIdentity);
}

void QUSDeviceTest::failedReadStillAsksAgain()
{
    Front front;
    front.device.request_hz();
    front.device.request_hz();
    front.device.recv_us_recv_result(false, QByteArray());
    QCOMPARE(front.reads, 2);
}

void QUSDeviceTest::resetSendsNothing()
{
    Front front;
    Announcements announcements(&front.device);
    front.device.reset_identity();
    QCOMPARE(announcements.take(), unknownIdentity);
    QVERIFY(front.sent.empty());
    QCOMPARE(front.reads, 0);
}

void QUSDeviceTest::signalsAndSlotsHaveTheirPlaces()
{
    const auto signatures = [](const QMetaObject &meta) {
        QStringList list;
        for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
            list += QString::fromLatin1(meta.method(index).methodSignature());
        return list;
    };
    QCOMPARE(
        signatures(QUSDevice::staticMetaObject),
        QStringList({QStringLiteral("sig_deselect()"), QStringLiteral("sig_is_selected()"),
                     QStringLiteral("sig_us_send(QByteArray)"), QStringLiteral("sig_us_recv()"),
                     QStringLiteral("sig_recv_debug(QString)"), QStringLiteral("sig_recv_hz(uint32_t)"),
                     QStringLiteral("sig_recv_autopowersave(bool)"),
                     QStringLiteral("sig_recv_stereo(usmsg_data_ch_t,uint8_t,usmsg_data_ch_type_t)"),
                     QStringLiteral("sig_recv_mute(usmsg_data_ch_t,uint8_t,bool)"),
                     QStringLiteral("sig_recv_fader(usmsg_data_ch_t,uint8_t,uint8_t)"),
                     QStringLiteral("sig_recv_version(uint16_t)"), QStringLiteral("sig_recv_build(uint16_t)"),
                     QStringLiteral("sig_recv_productname(QString)"), QStringLiteral("sig_recv_builddate(QString)"),
                     QStringLiteral("sig_recv_buildtime(QString)"), QStringLiteral("recv_deselect(bool)"),
                     QStringLiteral("recv_is_selected(bool)"), QStringLiteral("recv_us_send_result(bool)"),
                     QStringLiteral("recv_us_recv_result(bool,QByteArray)")}));
    QVERIFY(QMetaType::fromName("usmsg_data_ch_t").isValid());
    QVERIFY(QMetaType::fromName("usmsg_data_ch_type_t").isValid());
}

void QUSDeviceTest::queuedSignalsCarryTheChannel()
{
    Front front;
    QList<uint> heard;
    connect(
        &front.device, &QUSDevice::sig_recv_stereo, this,
        [&heard](usmsg_data_ch_t ch, uint8_t number, usmsg_data_ch_type_t mode) {
            heard = {ch, number, mode};
        },
        Qt::QueuedConnection);
    front.deliver({0x61, 2, 5, 0x62, 2, 1, 0xC6, 2, 4});
    QVERIFY(heard.isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(heard, QList<uint>({5, 1, 4}));
}

QTEST_GUILESS_MAIN(QUSDeviceTest)
#include "qusdevice_test.moc"
