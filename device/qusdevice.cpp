#include "qusdevice.h"

#include "devicethread.h"
#include "qusdeviceunit.h"
#include "transfergate.h"
#include "uselement.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <cstring>

namespace {

// Longer than any transfer of a unit that answers at all.
constexpr int endLimit_ms = 3000;
constexpr int cancelInterval_ms = 100;

} // namespace

/// An element of a block as it was read.
struct QUSDevice::Element : uselement::element_t
{
    /// The number; 0 where a byte string came in place of one.
    uint32_t number() const { return type == USMSG_DATA_TYPE_BYTES ? 0 : static_cast<uint32_t>(value); }

    /// The text; empty where a number came in place of one.
    QString text() const
    {
        if (bytes() == nullptr)
            return {};
        return QString::fromUtf8(reinterpret_cast<const char *>(bytes()), length);
    }
};

/// The channel that the unit named last.
struct QUSDevice::Channel
{
    uint32_t type = 0;
    uint32_t number = 0;

    usmsg_data_ch_t ch() const { return static_cast<usmsg_data_ch_t>(type); }
    uint8_t ch_no() const { return static_cast<uint8_t>(number); }
};

QUSDevice::QUSDevice(QObject *parent)
    : QObject(parent)
    , m_gate(new TransferGate)
{
    qRegisterMetaType<usmsg_data_ch_t>();
    qRegisterMetaType<usmsg_data_ch_type_t>();
    startWorker();
    connectWorker();
}

QUSDevice::~QUSDevice()
{
    m_gate->close();
    {
        // The first slot ends the thread, the second is posted to it.
        const auto held = DeviceThread::hold();
        Q_EMIT m_unit->finished();
    }
    m_thread->release();
    if (!waitForWorker()) {
        // A thread that hangs in the driver still uses these; nobody waits for it any longer.
        m_gate->abandon();
        static_cast<void>(m_gate.release());
        return;
    }
    // Both delete themselves by events, but only while there is an application object to deliver these.
    delete m_unit;
    delete m_thread;
}

/// Whether the worker's thread has ended in time. Counts attempts, not time, so that a stalled machine is not mistaken
/// for a hung worker.
bool QUSDevice::waitForWorker()
{
    bool hasEnded = false;
    for (int turn = 0; turn < endLimit_ms / cancelInterval_ms && !hasEnded; ++turn) {
        m_gate->cancel();
        hasEnded = m_thread->waitForEnd(QDeadlineTimer(cancelInterval_ms));
    }
    return hasEnded;
}

void QUSDevice::startWorker()
{
    m_unit = new QUSDeviceUnit;
    m_thread = new DeviceThread;
    m_unit->moveToThread(m_thread);
    connect(m_unit, &QUSDeviceUnit::finished, m_thread, &QThread::quit);
    connect(m_unit, &QUSDeviceUnit::finished, m_unit, &QObject::deleteLater);
    connect(m_thread, &QThread::finished, m_thread, &QObject::deleteLater);
    m_thread->start();
}

void QUSDevice::connectWorker()
{
    connect(this, &QUSDevice::sig_deselect, m_unit, &QUSDeviceUnit::deselect);
    connect(m_unit, &QUSDeviceUnit::ret_deselect, this, &QUSDevice::recv_deselect);
    connect(this, &QUSDevice::sig_is_selected, m_unit, &QUSDeviceUnit::is_selected);
    connect(m_unit, &QUSDeviceUnit::ret_is_selected, this, &QUSDevice::recv_is_selected);
    connect(this, &QUSDevice::sig_us_send, m_unit, &QUSDeviceUnit::us_send);
    connect(m_unit, &QUSDeviceUnit::us_send_result, this, &QUSDevice::recv_us_send_result);
    connect(this, &QUSDevice::sig_us_recv, m_unit, &QUSDeviceUnit::us_recv);
    connect(m_unit, &QUSDeviceUnit::us_recv_result, this, &QUSDevice::recv_us_recv_result);
}

void QUSDevice::request_version()
{
    m_queries.version = 1;
    sendRequests();
}

void QUSDevice::request_hz()
{
    m_queries.hz = 1;
    sendRequests();
}

void QUSDevice::request_autopowersave()
{
    m_queries.autopowersave = 1;
    sendRequests();
}

void QUSDevice::request_stereo()
{
    m_queries.stereo = 1;
    sendRequests();
}

void QUSDevice::request_mute()
{
    // A round that has begun continues where it is.
    if (m_queries.mute == 0)
        m_queries.mute = 1;
    sendRequests();
}

void QUSDevice::request_fader()
{
    m_queries.fader = 1;
    sendRequests();
}

void QUSDevice::set_autopowersave(uint8_t value)
{
    m_settings.autopowersave = {1, value};
    sendRequests();
}

void QUSDevice::set_monitor_mode(uint32_t mode)
{
    m_settings.monitorMode = {1, mode};
    sendRequests();
}

void QUSDevice::set_u32(uint32_t value)
{
    m_settings.u32 = {1, value};
    sendRequests();
}

bool QUSDevice::set_input_switch(uint32_t ch_type, uint8_t ch_no, uint8_t value)
{
    if (ch_type != USMSG_DATA_CH_ANALOG_IN || ch_no < 1 || ch_no > requests::audioInputs)
        return false;
    if (m_settings.inputSwitches[ch_no - 1].store(ch_type, ch_no, value))
        sendRequests();
    return true;
}

bool QUSDevice::set_input_volume(uint32_t ch_type, uint8_t ch_no, uint8_t value)
{
    if (ch_type != USMSG_DATA_CH_DIRECTMONITOR_OUT || ch_no != requests::monitorNumber)
        return false;
    if (m_settings.inputVolume.store(ch_type, ch_no, value))
        sendRequests();
    return true;
}

void QUSDevice::reset_identity()
{
    m_version = 0;
    m_build = 0;
    m_buildDate.clear();
    m_buildTime.clear();
    Q_EMIT sig_recv_version(0);
    Q_EMIT sig_recv_build(0);
    Q_EMIT sig_recv_productname(QString());
    Q_EMIT sig_recv_builddate(QString());
    Q_EMIT sig_recv_buildtime(QString());
}

void QUSDevice::recv_deselect(bool ret)
{
    m_deselected = ret ? 1 : 0;
}

void QUSDevice::recv_is_selected(bool ret)
{
    m_selected = ret ? 1 : 0;
}

void QUSDevice::recv_us_send_result(bool result)
{
    if (!result)
        reset_identity();
    const int state = m_sendState;
    m_sendState = Idle;
    if (state == Again)
        sendRequests();
}

void QUSDevice::recv_us_recv_result(bool result, const QByteArray &usmsg_data)
{
    if (m_receiveState == Again) {
        m_receiveState = InFlight;
        Q_EMIT sig_us_recv();
    } else {
        m_receiveState = Idle;
    }
    if (!result) {
        reset_identity();
        return;
    }
    parse(usmsg_data);
}

void QUSDevice::sendRequests()
{
    if (m_unitReady == 0) {
        requestRead();
        return;
    }
    if (m_sendState != Idle) {
        m_sendState = Again;
        return;
    }
    uint8_t bytes[USMSG_MAX_SIZE] = {};
    usmsg_buf_t message;
    usmsg_init(&message, bytes, sizeof(bytes));
    requests::appendRequests(&m_queries, &m_settings, &message);
    if (message.pos == 0)
        return;
    usmsg_put(&message, USMSG_ID_END, USMSG_DATA_TYPE_END, 0, 0);
    m_unitReady = 0;
    m_sendState = InFlight;
    Q_EMIT sig_us_send(QByteArray(reinterpret_cast<const char *>(bytes), message.pos));
}

void QUSDevice::requestRead()
{
    if (m_receiveState != Idle) {
        m_receiveState = Again;
        return;
    }
    m_receiveState = InFlight;
    Q_EMIT sig_us_recv();
}

void QUSDevice::parse(const QByteArray &usmsg_data)
{
    Channel channel;
    for (qsizetype offset = 0; offset < usmsg_data.size(); offset += USMSG_MAX_SIZE) {
        uint8_t bytes[USMSG_MAX_SIZE] = {};
        const auto size = static_cast<uint8_t>(std::min<qsizetype>(usmsg_data.size() - offset, sizeof(bytes)));
        std::memcpy(bytes, usmsg_data.constData() + offset, size);
        usmsg_buf_t block;
        usmsg_init(&block, bytes, size);
        parseBlock(&block, &channel);
    }
}

void QUSDevice::parseBlock(usmsg_buf_t *block, Channel *channel)
{
    Element element;
    while (uselement::next(block, &element) && element.id != USMSG_ID_END)
        dispatch(element, channel);
}

void QUSDevice::dispatch(const Element &element, Channel *channel)
{
    switch (element.id) {
    case USMSG_ID_CH:
        channel->type = element.number();
        break;
    case USMSG_ID_CH_NO:
        channel->number = element.number();
        break;
    case USMSG_ID_READY:
        takeReadyFlag(element.number() != 0);
        break;
    case USMSG_ID_HZ:
        Q_EMIT sig_recv_hz(element.number());
        break;
    case USMSG_ID_GET_AUTOPOWERSAVE:
    case USMSG_ID_AUTOPOWERSAVE:
        if (element.type == USMSG_DATA_TYPE_U8)
            Q_EMIT sig_recv_autopowersave(element.number() != 0);
        break;
    case USMSG_ID_DEBUG:
        Q_EMIT sig_recv_debug(element.text());
        break;
    default:
        dispatchChannelValue(element, *channel);
        dispatchIdentity(element);
        break;
    }
}

void QUSDevice::dispatchChannelValue(const Element &element, const Channel &channel)
{
    switch (element.id) {
    case USMSG_ID_GET_FADER:
        Q_EMIT sig_recv_fader(channel.ch(), channel.ch_no(), static_cast<uint8_t>(element.number()));
        break;
    case USMSG_ID_GET_MUTE:
        Q_EMIT sig_recv_mute(channel.ch(), channel.ch_no(), element.number() != 0);
        break;
    case USMSG_ID_GET_STEREO:
        Q_EMIT sig_recv_stereo(channel.ch(), channel.ch_no(), static_cast<usmsg_data_ch_type_t>(element.number()));
        break;
    default:
        break;
    }
}

void QUSDevice::dispatchIdentity(const Element &element)
{
    switch (element.id) {
    case USMSG_ID_VERSION:
        m_version = static_cast<uint16_t>(element.number());
        Q_EMIT sig_recv_version(m_version);
        break;
    case USMSG_ID_BUILD:
        m_build = static_cast<uint16_t>(element.number());
        Q_EMIT sig_recv_build(m_build);
        break;
    case USMSG_ID_PRODUCTNAME:
        Q_EMIT sig_recv_productname(element.text());
        break;
    case USMSG_ID_BUILDDATE:
        m_buildDate = element.text();
        Q_EMIT sig_recv_builddate(m_buildDate);
        break;
    case USMSG_ID_BUILDTIME:
        m_buildTime = element.text();
        Q_EMIT sig_recv_buildtime(m_buildTime);
        break;
    default:
        break;
    }
}

void QUSDevice::takeReadyFlag(bool ready)
{
    const bool becameReady = ready && m_unitReady == 0;
    m_unitReady = ready ? 1 : 0;
    if (becameReady)
        sendRequests();
}
