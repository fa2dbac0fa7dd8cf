#include "unitcontrols.h"

#include "qusdevice.h"
#include "requests.h"

#include <QDebug>

namespace {

const char *logged(bool on)
{
    return on ? "TRUE" : "FALSE";
}

} // namespace

UnitControls::UnitControls(QUSDevice *device)
    : m_device(device)
{
}

void UnitControls::monitorStereo(bool stereo, uint8_t tag)
{
    qDebug(stereo ? "Direct Monitor 1-2:STEREO:%d" : "Direct Monitor 1-2:MONO:%d", tag);
    m_device->set_monitor_mode(stereo ? USMSG_DATA_CH_TYPE_STEREO : USMSG_DATA_CH_TYPE_MONO);
}

void UnitControls::inputVolume(uint8_t volume)
{
    qDebug("Input Volume:%d", volume);
    m_device->set_input_volume(USMSG_DATA_CH_DIRECTMONITOR_OUT, requests::monitorNumber, volume);
}

void UnitControls::autoPowerSave(bool on)
{
    qDebug("Auto Power Save:%s", logged(on));
    m_device->set_autopowersave(on ? 1 : 0);
}

void UnitControls::audioInput(uint8_t input, bool on)
{
    qDebug("Audio Input%d:%s", input, logged(on));
    // The unit's setting is a mute, so the sense is reversed.
    m_device->set_input_switch(USMSG_DATA_CH_ANALOG_IN, input, on ? 0 : 1);
}

void UnitControls::requestVersion()
{
    m_device->request_version();
}

void UnitControls::requestSampleRate()
{
    m_device->request_hz();
}

void UnitControls::requestAutoPowerSave()
{
    m_device->request_autopowersave();
}

void UnitControls::requestStereo()
{
    m_device->request_stereo();
}

void UnitControls::requestMutes()
{
    m_device->request_mute();
}

void UnitControls::requestFader()
{
    m_device->request_fader();
}
