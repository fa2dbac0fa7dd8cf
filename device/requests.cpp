#include "requests.h"

#include "usctl.h"

namespace requests {

namespace {

bool append(usmsg_buf_t *message, uint32_t id, uint32_t type, uint32_t value)
{
    return usmsg_put(message, id, type, value, 0) == 0;
}

bool appendQuery(usmsg_buf_t *message, uint8_t *pending, uint32_t id)
{
    if (*pending == 0)
        return true;
    if (!append(message, id, USMSG_DATA_TYPE_NONE, 0))
        return false;
    *pending = 0;
    return true;
}

/// Appends the three elements of a channel's query one by one: what fitted before the end stays in the message.
bool appendChannelQuery(usmsg_buf_t *message, uint32_t ch, uint8_t ch_no, uint32_t id)
{
    return append(message, USMSG_ID_CH, USMSG_DATA_TYPE_U8, ch)
        && append(message, USMSG_ID_CH_NO, USMSG_DATA_TYPE_U8, ch_no) && append(message, id, USMSG_DATA_TYPE_U8, 0);
}

bool appendMonitorQuery(usmsg_buf_t *message, uint8_t *pending, uint32_t id)
{
    if (*pending == 0)
        return true;
    if (!appendChannelQuery(message, USMSG_DATA_CH_DIRECTMONITOR_OUT, monitorNumber, id))
        return false;
    *pending = 0;
    return true;
}

void appendMuteQueries(usmsg_buf_t *message, uint8_t *input)
{
    while (*input != 0) {
        if (!appendChannelQuery(message, USMSG_DATA_CH_ANALOG_IN, *input, USMSG_ID_GET_MUTE))
            return;
        *input = *input >= audioInputs ? 0 : static_cast<uint8_t>(*input + 1);
    }
}

template <typename Value>
bool appendSetting(usmsg_buf_t *message, Setting<Value> *setting, uint32_t id, uint32_t type)
{
    if (setting->pending == 0)
        return true;
    if (!append(message, id, type, setting->value))
        return false;
    setting->pending = 0;
    return true;
}

bool appendMonitorMode(usmsg_buf_t *message, Setting<uint32_t> *mode)
{
    if (mode->pending == 0)
        return true;
    if (usctl_put_ch_value(message, USMSG_DATA_CH_DIRECTMONITOR_OUT, monitorNumber, USMSG_ID_SET_STEREO,
                           static_cast<uint8_t>(mode->value))
        != 0)
        return false;
    mode->pending = 0;
    return true;
}

bool appendChannelSetting(usmsg_buf_t *message, ChannelSetting *setting, uint32_t id)
{
    if (setting->pending == 0)
        return true;
    if (usctl_put_ch_value(message, setting->ch, setting->ch_no, id, setting->value) != 0)
        return false;
    setting->pending = 0;
    return true;
}

bool appendInputSwitches(usmsg_buf_t *message, Settings *settings)
{
    for (ChannelSetting &inputSwitch : settings->inputSwitches) {
        if (!appendChannelSetting(message, &inputSwitch, USMSG_ID_SET_MUTE))
            return false;
    }
    return true;
}

bool appendSettings(usmsg_buf_t *message, Settings *settings)
{
    return appendSetting(message, &settings->autopowersave, USMSG_ID_AUTOPOWERSAVE, USMSG_DATA_TYPE_U8)
        && appendMonitorMode(message, &settings->monitorMode)
        && appendSetting(message, &settings->u32, USMSG_ID_SET_U32, USMSG_DATA_TYPE_U32)
        && appendInputSwitches(message, settings)
        && appendChannelSetting(message, &settings->inputVolume, USMSG_ID_SET_FADER);
}

} // namespace

bool ChannelSetting::store(uint32_t new_ch, uint8_t new_ch_no, uint8_t new_value)
{
    if (value == new_value)
        return false;
    ch = new_ch;
    ch_no = new_ch_no;
    value = new_value;
    pending = 1;
    return true;
}

void appendRequests(Queries *queries, Settings *settings, usmsg_buf_t *message)
{
    const bool goesOn = appendQuery(message, &queries->version, USMSG_ID_IDENTITY)
        && appendQuery(message, &queries->hz, USMSG_ID_HZ)
        && appendQuery(message, &queries->autopowersave, USMSG_ID_GET_AUTOPOWERSAVE)
        && appendMonitorQuery(message, &queries->stereo, USMSG_ID_GET_STEREO);
    if (!goesOn)
        return;
    appendMuteQueries(message, &queries->mute);
    appendMonitorQuery(message, &queries->fader, USMSG_ID_GET_FADER);
    appendSettings(message, settings);
}

} // namespace requests
