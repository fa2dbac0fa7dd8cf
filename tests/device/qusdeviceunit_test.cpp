#include "conversation.h"
#include "printed.h"
#include "qusdeviceunit.h"
#include "transfergate.h"

#include <QMetaMethod>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace {

using Bytes = Conversation::Bytes;

/// The worker by itself, called on this thread. A unit can be plugged in and out.
class Worker : public testing::Test
{
protected:
    Worker() { plugIn(); }

    void plugIn() { conversation.platform.devices = {{u"kd-mx", {{u"\\\\?\\unit\\global"}}}}; }
    void unplug() { conversation.platform.devices.clear(); }

    /// Everything a worker reports, in order.
    void listen(QUSDeviceUnit *unit)
    {
        QObject::connect(unit, &QUSDeviceUnit::us_send_result, [this](bool result) { note("send", result); });
        QObject::connect(unit, &QUSDeviceUnit::us_recv_result, [this](bool result, const QByteArray &data) {
            note("recv", result);
            block.assign(data.begin(), data.end());
        });
        QObject::connect(unit, &QUSDeviceUnit::ret_deselect, [this](bool ret) { note("deselect", ret); });
        QObject::connect(unit, &QUSDeviceUnit::ret_is_selected, [this](bool ret) { note("is_selected", ret); });
        QObject::connect(unit, &QUSDeviceUnit::ret_select_default, [this](bool ret) { note("select_default", ret); });
    }

    std::string heard() { return std::exchange(m_heard, {}); }

    Conversation conversation;
    Bytes block;

private:
    void note(const char *what, bool value) { m_heard += std::string(what) + (value ? "+ " : "- "); }

    std::string m_heard;
};

TEST_F(Worker, looksForTheUnitWhenItIsMade)
{
    QUSDeviceUnit unit;
    EXPECT_EQ(conversation.platform.enumerations, 1);
    listen(&unit);
    unit.is_selected();
    EXPECT_EQ(heard(), "is_selected+ ");
    EXPECT_EQ(conversation.platform.enumerations, 1);
}

TEST_F(Worker, writesAndThenReads)
{
    QUSDeviceUnit unit;
    listen(&unit);
    conversation.reply({0xA1, 2, 1});
    unit.us_send(QByteArray("\x18\x01\x00\x00", 4));
    EXPECT_EQ(heard(), "send+ recv+ ");
    EXPECT_EQ(conversation.written(), std::vector<Bytes>({{0x18, 1, 0, 0}}));
    ASSERT_EQ(block.size(), 64U);
    EXPECT_EQ(block[0], 0xA1);
    EXPECT_EQ(conversation.reads(), 1U);
}

TEST_F(Worker, givesTheUnitTimeAfterEachTransfer)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds pause(10);
    QUSDeviceUnit unit;
    Clock::time_point sent;
    Clock::time_point received;
    QObject::connect(&unit, &QUSDeviceUnit::us_send_result, [&] { sent = Clock::now(); });
    QObject::connect(&unit, &QUSDeviceUnit::us_recv_result, [&] { received = Clock::now(); });
    Clock::duration shortestBeforeRead = Clock::duration::max();
    Clock::duration shortestAfterRead = Clock::duration::max();
    // On a busy machine a pause that is not made may look like one, but not each of five times; and a pause may take
    // longer, for a while each of them.
    const auto areLong = [&] { return std::max(shortestBeforeRead, shortestAfterRead) >= 3 * pause; };
    for (int transfer = 0; transfer < 5 || (areLong() && transfer < 200); ++transfer) {
        unit.us_send(QByteArray("\x31\x01", 2));
        const Clock::duration beforeRead = received - sent;
        const Clock::duration afterRead = Clock::now() - received;
        EXPECT_GE(beforeRead, pause);
        EXPECT_GE(afterRead, pause);
        shortestBeforeRead = std::min(shortestBeforeRead, beforeRead);
        shortestAfterRead = std::min(shortestAfterRead, afterRead);
    }
    EXPECT_FALSE(areLong());
}

TEST_F(Worker, reachesNoUnitThroughAClosedGate)
{
    TransferGate gate;
    QUSDeviceUnit unit;
    listen(&unit);
    gate.close();
    printed([&] { unit.us_send(QByteArray("\x31\x01", 2)); });
    EXPECT_EQ(heard(), "send+ recv- ");
    EXPECT_TRUE(conversation.platform.requests.empty());
}

TEST_F(Worker, sendsTheFirst64Bytes)
{
    QUSDeviceUnit unit;
    QByteArray message(100, '\x31');
    unit.us_send(message);
    ASSERT_EQ(conversation.written().size(), 1U);
    EXPECT_EQ(conversation.written()[0], Bytes(64, 0x31));
}

TEST_F(Worker, readsOnly)
{
    QUSDeviceUnit unit;
    listen(&unit);
    unit.us_recv();
    EXPECT_EQ(heard(), "recv+ ");
    EXPECT_TRUE(conversation.written().empty());
}

TEST_F(Worker, triesABusyUnitThreeTimes)
{
    QUSDeviceUnit unit;
    listen(&unit);
    for (int attempt = 0; attempt < 3; ++attempt)
        conversation.fail_write(USPLATFORM_ERROR_TRANSIENT);
    printed([&] { unit.us_send(QByteArray("\x31\x01", 2)); });
    EXPECT_EQ(heard(), "send- recv+ ");
    EXPECT_EQ(conversation.written().size(), 3U);
}

TEST_F(Worker, countsAHardFailureAsSent)
{
    QUSDeviceUnit unit;
    listen(&unit);
    conversation.fail_write(USPLATFORM_ERROR_IO);
    printed([&] { unit.us_send(QByteArray("\x31\x01", 2)); });
    EXPECT_EQ(heard(), "send+ recv+ ");
}

TEST_F(Worker, reportsAFailedReadWithAllItsBytes)
{
    QUSDeviceUnit unit;
    listen(&unit);
    conversation.fail_read(USPLATFORM_ERROR_NOT_CONNECTED);
    printed([&] { unit.us_recv(); });
    EXPECT_EQ(heard(), "recv- ");
    EXPECT_EQ(block.size(), 64U);
}

TEST_F(Worker, keepsAUnitWhoseTransfersFail)
{
    QUSDeviceUnit unit;
    conversation.platform.open_error = USPLATFORM_ERROR_NOT_FOUND;
    printed([&] { unit.us_recv(); });
    listen(&unit);
    unit.is_selected();
    EXPECT_EQ(heard(), "is_selected+ ");
    EXPECT_EQ(conversation.platform.enumerations, 1);
}

TEST_F(Worker, withoutAUnitLooksOnceForTheWriteAndOnceForTheRead)
{
    unplug();
    QUSDeviceUnit unit;
    listen(&unit);
    unit.us_send(QByteArray("\x31\x01", 2));
    EXPECT_EQ(heard(), "deselect+ select_default- send- deselect+ select_default- recv- ");
    EXPECT_EQ(block, Bytes(64, 0));
    EXPECT_TRUE(conversation.platform.requests.empty());
}

TEST_F(Worker, findsAUnitPluggedInLater)
{
    unplug();
    QUSDeviceUnit unit;
    plugIn();
    listen(&unit);
    unit.us_send(QByteArray("\x31\x01", 2));
    EXPECT_EQ(heard(), "deselect+ select_default+ send+ recv+ ");
}

TEST_F(Worker, forgetsTheUnitOnDemand)
{
    QUSDeviceUnit unit;
    listen(&unit);
    unit.deselect();
    EXPECT_EQ(heard(), "deselect+ ");
    unit.is_selected();
    EXPECT_EQ(heard(), "deselect+ select_default+ is_selected+ ");
    unplug();
    unit.select_default();
    EXPECT_EQ(heard(), "deselect+ select_default- ");
    unit.is_selected();
    EXPECT_EQ(heard(), "deselect+ select_default- is_selected- ");
}

TEST_F(Worker, signalsAndSlotsHaveTheirPlaces)
{
    const QMetaObject &meta = QUSDeviceUnit::staticMetaObject;
    QByteArray signatures;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        signatures += meta.method(index).methodSignature() + ' ';
    EXPECT_EQ(signatures.toStdString(),
              "us_send_result(bool) us_recv_result(bool,QByteArray) ret_deselect(bool) ret_is_selected(bool) "
              "ret_select_default(bool) finished() deselect() is_selected() select_default() us_send(QByteArray) "
              "us_recv() ");
}

} // namespace
