#include "front.h"

#include <QtTest>

#include <array>
#include <optional>
#include <random>

/**
 * The front against a small model of it, over a million random steps: requests, settings, results of the worker in
 * any order, and blocks of a unit that is ready, busy or says nothing. After each step both must have asked the worker
 * for the same.
 */
class QUSDeviceModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStepLeadsToWhatTheModelSays_data();
    void everyStepLeadsToWhatTheModelSays();
    void everyStateIsReached();
};

namespace {

using Bytes = Front::Bytes;

constexpr int stepsPerSeed = 250'000;

/// Requests in the order in which a message takes them.
enum Request {
    AskVersion,
    AskHz,
    AskPowerSave,
    AskStereo,
    AskMutes,
    AskFader,
    SetPowerSave,
    SetMonitorMode,
    SetU32,
    SetInput1,
    SetInput2,
    SetVolume,
    Requests,
};

/// What the front is to do, worked out anew: a list of requests that wait, and two channels to the worker.
class Model
{
public:
    /// What goes to the worker.
    std::vector<Bytes> sent;
    int reads = 0;

    /// How often the worker's channels and the unit were in each of their states: send, receive, ready.
    std::array<std::array<std::array<int, 2>, 3>, 3> visits = {};

    void request(Request request, uint32_t value)
    {
        if (remembersValue(request) && std::exchange(m_last[request], value) == value)
            return;
        m_waiting[request] = elements(request, value);
        trySending();
    }

    void sendEnded()
    {
        const bool again = m_send == Channel::BusyAndWanted;
        m_send = Channel::Free;
        if (again)
            trySending();
    }

    void readEnded(std::optional<bool> ready)
    {
        const bool again = m_receive == Channel::BusyAndWanted;
        m_receive = again ? Channel::Busy : Channel::Free;
        reads += again ? 1 : 0;
        if (!ready)
            return;
        const bool news = *ready && !m_ready;
        m_ready = *ready;
        if (news)
            trySending();
    }

    void countVisit() { ++visits[static_cast<size_t>(m_send)][static_cast<size_t>(m_receive)][m_ready ? 1 : 0]; }

private:
    enum class Channel { Free, BusyAndWanted, Busy };

    static bool remembersValue(Request request)
    {
        return request == SetInput1 || request == SetInput2 || request == SetVolume;
    }

    static Bytes channel(int ch, int number, int id, uint32_t value)
    {
        return {0x61,
                2,
                static_cast<uint8_t>(ch),
                0x62,
                2,
                static_cast<uint8_t>(number),
                static_cast<uint8_t>(id),
                2,
                static_cast<uint8_t>(value)};
    }

    static Bytes elements(Request request, uint32_t value)
    {
        const auto byte = [value](int shift) { return static_cast<uint8_t>(value >> shift); };
        switch (request) {
        case AskVersion:
            return {0x31, 1};
        case AskHz:
            return {0x18, 1};
        case AskPowerSave:
            return {0x14, 1};
        case AskStereo:
            return channel(5, 1, 0xC6, 0);
        case AskMutes: {
            Bytes both = channel(4, 1, 0xC3, 0);
            const Bytes second = channel(4, 2, 0xC3, 0);
            both.insert(both.end(), second.begin(), second.end());
            return both;
        }
        case AskFader:
            return channel(5, 1, 0xC1, 0);
        case SetPowerSave:
            return {0x15, 2, byte(0)};
        case SetMonitorMode:
            return channel(5, 1, 0x86, value);
        case SetU32:
            return {0x17, 4, byte(0), byte(8), byte(16), byte(24)};
        case SetInput1:
            return channel(4, 1, 0x83, value);
        case SetInput2:
            return channel(4, 2, 0x83, value);
        default:
            return channel(5, 1, 0x81, value);
        }
    }

    void trySending()
    {
        if (!m_ready) {
            reads += m_receive == Channel::Free ? 1 : 0;
            m_receive = m_receive == Channel::Free ? Channel::Busy : Channel::BusyAndWanted;
        } else if (m_send != Channel::Free) {
            m_send = Channel::BusyAndWanted;
        } else {
            send();
        }
    }

    void send()
    {
        Bytes message;
        for (Bytes &request : m_waiting) {
            if (message.size() + request.size() > 64)
                break;
            message.insert(message.end(), request.begin(), request.end());
            request.clear();
        }
        if (message.empty())
            return;
        // The end element goes where there is room for it.
        if (message.size() <= 62)
            message.insert(message.end(), {0, 0});
        sent.push_back(message);
        m_ready = false;
        m_send = Channel::Busy;
    }

    std::array<Bytes, Requests> m_waiting;
    std::array<uint32_t, Requests> m_last = {};
    Channel m_send = Channel::Free;
    Channel m_receive = Channel::Free;
    bool m_ready = false;
};

void makeRequest(QUSDevice *device, Request request, uint32_t value)
{
    const auto byte = static_cast<uint8_t>(value);
    switch (request) {
    case AskVersion:
        return device->request_version();
    case AskHz:
        return device->request_hz();
    case AskPowerSave:
        return device->request_autopowersave();
    case AskStereo:
        return device->request_stereo();
    case AskMutes:
        return device->request_mute();
    case AskFader:
        return device->request_fader();
    case SetPowerSave:
        return device->set_autopowersave(byte);
    case SetMonitorMode:
        return device->set_monitor_mode(value);
    case SetU32:
        return device->set_u32(value);
    case SetInput1:
        return void(device->set_input_switch(USMSG_DATA_CH_ANALOG_IN, 1, byte));
    case SetInput2:
        return void(device->set_input_switch(USMSG_DATA_CH_ANALOG_IN, 2, byte));
    default:
        return void(device->set_input_volume(USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, byte));
    }
}

/// One random walk of the front and its model side by side.
class Walk
{
public:
    explicit Walk(unsigned seed)
        : m_random(seed)
    {
    }

    void step()
    {
        // The worker is faster than the owner, so that all requests are sometimes through.
        const unsigned choice = m_random() % 64;
        if (choice < Requests)
            request(static_cast<Request>(choice));
        else if (choice % 2 == 0)
            endSend();
        else
            endRead();
        model.countVisit();
    }

    Front front;
    Model model;

private:
    void request(Request request)
    {
        // Few values, so that equal ones come often.
        const auto value = static_cast<uint32_t>(request == SetU32 ? m_random() : m_random() % 3);
        makeRequest(&front.device, request, value);
        model.request(request, value);
    }

    void endSend()
    {
        front.device.recv_us_send_result(m_random() % 4 != 0);
        model.sendEnded();
    }

    void endRead()
    {
        switch (m_random() % 4) {
        case 0:
            front.device.recv_us_recv_result(false, QByteArray(USMSG_MAX_SIZE, '\0'));
            model.readEnded(std::nullopt);
            break;
        case 1:
            front.deliver({0x18, 4, 0x80, 0xBB, 0, 0});
            model.readEnded(std::nullopt);
            break;
        case 2:
            front.deliver({0xA1, 2, 0});
            model.readEnded(false);
            break;
        default:
            front.deliverReady();
            model.readEnded(true);
            break;
        }
    }

    std::minstd_rand m_random;
};

} // namespace

void QUSDeviceModelTest::everyStepLeadsToWhatTheModelSays_data()
{
    QTest::addColumn<unsigned>("seed");
    for (const unsigned seed : {1U, 2U, 3U, 4U})
        QTest::addRow("seed %u", seed) << seed;
}

void QUSDeviceModelTest::everyStepLeadsToWhatTheModelSays()
{
    QFETCH(unsigned, seed);
    Walk walk(seed);
    for (int step = 0; step < stepsPerSeed; ++step) {
        walk.step();
        if (walk.front.sent != walk.model.sent || walk.front.reads != walk.model.reads)
            QFAIL(qPrintable(QStringLiteral("the front and its model differ after step %1").arg(step)));
        walk.front.sent.clear();
        walk.model.sent.clear();
    }
}

void QUSDeviceModelTest::everyStateIsReached()
{
    Walk walk(5);
    for (int step = 0; step < stepsPerSeed / 10; ++step)
        walk.step();
    int unready = 0;
    int ready = 0;
    for (const auto &receiveStates : walk.model.visits) {
        for (const auto &[unreadyVisits, readyVisits] : receiveStates) {
            unready += unreadyVisits > 0 ? 1 : 0;
            ready += readyVisits > 0 ? 1 : 0;
        }
    }
    QCOMPARE(unready, 9);
    // A unit that gets ready gets a message at once, unless nothing waits, or a send is in flight with a read or none.
    QCOMPARE(ready, 3);
}

QTEST_GUILESS_MAIN(QUSDeviceModelTest)
#include "qusdevice_model_test.moc"
