#include "monitorunit.h"

#include "requests.h"

#include <QStringList>

#include <algorithm>

namespace kdmxctl {

namespace {

constexpr int question_interval_ms = 500;

constexpr int highest_level = 255;

// More than any terminal has rows for.
constexpr size_t kept_debug_lines = 500;

// A number for the log of the device object.
constexpr uint8_t monitor_tag = 0;

/// A text of the unit without anything that a terminal could take for more than a character.
std::string clean(QString text)
{
    if (const qsizetype end = text.indexOf(QChar(u'\0')); end >= 0)
        text.truncate(end);
    for (QChar &character : text) {
        if (!character.isPrint())
            character = QChar(QChar::ReplacementCharacter);
    }
    return text.toStdString();
}

bool is_direct_monitor(usmsg_data_ch_t channel, uint8_t number)
{
    return channel == USMSG_DATA_CH_DIRECTMONITOR_OUT && number == requests::monitorNumber;
}

bool is_audio_input(usmsg_data_ch_t channel, uint8_t number)
{
    return channel == USMSG_DATA_CH_ANALOG_IN && number >= 1 && number <= requests::audioInputs;
}

} // namespace

MonitorUnit::MonitorUnit(TraceWriter *trace)
    : m_watch(trace,
              [this](UnitStatus status) {
                  const std::lock_guard lock(m_ended_lock);
                  m_ended.push_back(status);
              })
    , m_controls(&m_device)
{
    connect_identity();
    connect_settings();
    connect(&m_device, &QUSDevice::sig_recv_debug, this, &MonitorUnit::debug_arrived);
    connect(&m_question, &QTimer::timeout, this, &MonitorUnit::ask);
    m_question.start(question_interval_ms);
    ask();
}

void MonitorUnit::connect_identity()
{
    connect(&m_device, &QUSDevice::sig_recv_version, this, [this](uint16_t version) { m_state.version = version; });
    connect(&m_device, &QUSDevice::sig_recv_build, this, [this](uint16_t build) { m_state.build = build; });
    connect(&m_device, &QUSDevice::sig_recv_productname, this, &MonitorUnit::product_arrived);
    connect(&m_device, &QUSDevice::sig_recv_builddate, this,
            [this](const QString &date) { m_state.build_date = clean(date); });
    connect(&m_device, &QUSDevice::sig_recv_buildtime, this,
            [this](const QString &time) { m_state.build_time = clean(time); });
}

void MonitorUnit::connect_settings()
{
    connect(&m_device, &QUSDevice::sig_recv_hz, this, [this](uint32_t hz) { m_state.hz = hz; });
    connect(&m_device, &QUSDevice::sig_recv_autopowersave, this,
            [this](bool mode) { m_state.power_save.report(mode); });
    connect(&m_device, &QUSDevice::sig_recv_stereo, this,
            [this](usmsg_data_ch_t channel, uint8_t number, usmsg_data_ch_type_t mode) {
                if (is_direct_monitor(channel, number))
                    m_state.stereo.report(mode);
            });
    connect(&m_device, &QUSDevice::sig_recv_mute, this, [this](usmsg_data_ch_t channel, uint8_t number, bool muted) {
        if (is_audio_input(channel, number))
            m_state.inputs[number - 1].report(!muted);
    });
    connect(&m_device, &QUSDevice::sig_recv_fader, this,
            [this](usmsg_data_ch_t channel, uint8_t number, uint8_t level) {
                if (is_direct_monitor(channel, number))
                    m_state.volume.report(level);
            });
}

void MonitorUnit::refresh()
{
    m_controls.requestVersion();
    ask();
}

void MonitorUnit::ask()
{
    // The device object keeps to the unit that it found. Another one, or another port, is found by looking again.
    if (m_state.status == UnitStatus::NoUnit)
        Q_EMIT m_device.sig_deselect();
    // What cannot change while the unit is there is asked for only until it is known.
    if (!m_state.product)
        m_controls.requestVersion();
    m_controls.requestSampleRate();
    m_controls.requestAutoPowerSave();
    m_controls.requestStereo();
    m_controls.requestMutes();
    m_controls.requestFader();
    m_state.volume.ask();
    m_state.inputs[0].ask();
    m_state.inputs[1].ask();
    m_state.stereo.ask();
    m_state.power_save.ask();
}

const MonitorState &MonitorUnit::state()
{
    take_ended();
    return m_state;
}

/// Takes over the outcomes of the transfers that have ended meanwhile.
void MonitorUnit::take_ended()
{
    std::vector<UnitStatus> ended;
    {
        const std::lock_guard lock(m_ended_lock);
        ended.swap(m_ended);
    }
    if (ended.empty())
        return;
    m_state.status = ended.back();
    m_failure_told = ended.back() != UnitStatus::Connected && ended.back() != UnitStatus::Busy;
}

void MonitorUnit::product_arrived(const QString &product)
{
    const bool is_reset = product.isEmpty() && m_state.version == 0 && m_state.build == 0;
    if (!is_reset) {
        m_state.product = clean(product);
        return;
    }
    take_ended();
    // A unit that is not found when it is looked for fails without any transfer.
    if (!m_failure_told)
        m_state.status = UnitStatus::NoUnit;
    m_failure_told = false;
    // The rest of the reset is still to come; it must not be taken for what a unit said.
    QMetaObject::invokeMethod(
        this, [this] { forget(); }, Qt::QueuedConnection);
}

/// What is shown must be what the unit says, not what it said before it went away.
void MonitorUnit::forget()
{
    MonitorState state;
    state.status = m_state.status;
    state.debug = std::move(m_state.debug);
    m_state = std::move(state);
}

void MonitorUnit::debug_arrived(const QString &text)
{
    const QStringList lines = text.split(u'\n', Qt::SkipEmptyParts);
    for (QString line : lines) {
        line.replace(u'\t', u' ').remove(u'\r');
        m_state.debug.push_back(clean(line));
    }
    while (m_state.debug.size() > kept_debug_lines)
        m_state.debug.pop_front();
}

void MonitorUnit::change_volume(int levels)
{
    Setting<uint8_t> &volume = m_state.volume;
    if (!volume.expected())
        return;
    const auto level = static_cast<uint8_t>(std::clamp(*volume.expected() + levels, 0, highest_level));
    if (level == *volume.expected())
        return;
    // The device object does not send a level equal to the one it was given last, whatever became of that. So the level
    // that the unit already has is sent in between; nobody hears it.
    if (level == m_given_volume)
        m_controls.inputVolume(volume.reported() == level ? static_cast<uint8_t>(level ^ 1U) : *volume.reported());
    volume.want(level);
    m_given_volume = level;
    m_controls.inputVolume(level);
    m_controls.requestFader();
}

void MonitorUnit::switch_input(uint8_t input)
{
    Setting<bool> &setting = m_state.inputs[input - 1];
    if (!setting.expected())
        return;
    const bool on = !*setting.expected();
    bool &given_off = m_given_off[input - 1];
    // As with the volume: an equal value would not be sent.
    if (given_off == !on)
        m_controls.audioInput(input, !on);
    setting.want(on);
    given_off = !on;
    m_controls.audioInput(input, on);
    m_controls.requestMutes();
}

void MonitorUnit::switch_stereo()
{
    if (!m_state.stereo.expected())
        return;
    const bool stereo = *m_state.stereo.expected() != USMSG_DATA_CH_TYPE_STEREO;
    m_state.stereo.want(stereo ? USMSG_DATA_CH_TYPE_STEREO : USMSG_DATA_CH_TYPE_MONO);
    m_controls.monitorStereo(stereo, monitor_tag);
    m_controls.requestStereo();
}

void MonitorUnit::switch_power_save()
{
    if (!m_state.power_save.expected())
        return;
    const bool on = !*m_state.power_save.expected();
    m_state.power_save.want(on);
    m_controls.autoPowerSave(on);
    m_controls.requestAutoPowerSave();
}

} // namespace kdmxctl
