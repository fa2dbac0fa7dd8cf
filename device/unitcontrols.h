#pragma once

#include <cstdint>

class QUSDevice;

/**
 * What a window lets its user do with the unit, in a musician's terms. Each change is logged as a debug line and made a
 * request of the device; nothing waits. An input or input volume equal to the one asked for last is only logged
 * (QUSDevice::set_input_switch()), and so is an input that does not exist. GUI thread. Rests on QUSDevice.
 */
class UnitControls
{
public:
    /// @param device  must live as long as this object
    explicit UnitControls(QUSDevice *device);

    /// Hears the direct monitor of inputs 1-2 in stereo, or in mono. @param tag  a number for the log
    void monitorStereo(bool stereo, uint8_t tag);

    /// Sets the input volume of the direct monitor.
    void inputVolume(uint8_t volume);

    /// Switches auto power save.
    void autoPowerSave(bool on);

    /// Switches an audio input. @param input  1 or 2
    void audioInput(uint8_t input, bool on);

    // Questions; the device's signals bring the answers.

    /// Asks for the whole identity.
    void requestVersion();

    /// Asks for the sample rate.
    void requestSampleRate();

    /// Asks whether auto power save is on.
    void requestAutoPowerSave();

    /// Asks for the stereo mode of the direct monitor.
    void requestStereo();

    /// Asks which audio inputs are off.
    void requestMutes();

    /// Asks for the input volume of the direct monitor.
    void requestFader();

private:
    QUSDevice *m_device;
};
