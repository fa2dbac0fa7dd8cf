#pragma once

#include "monitorstate.h"
#include "monitorwatch.h"
#include "qusdevice.h"
#include "unitcontrols.h"

#include <QObject>
#include <QTimer>

#include <mutex>
#include <vector>

namespace kdmxctl {

/**
 * The unit of the live view: keeps what it reports, and passes settings on to it.
 *
 * Nothing waits: what the unit answers arrives with the events of the thread that made the object. Nothing else asks
 * the unit, so this object does, about twice a second. It needs the application object and the platform in use.
 */
class MonitorUnit : public QObject
{
public:
    /// @param trace  takes every transfer; must live as long as the object; may be null
    explicit MonitorUnit(TraceWriter *trace);

    /// What is known now.
    const MonitorState &state();

    /// Asks for everything, the identity too.
    void refresh();

    // Changes, from what the unit reports and what was set. They do nothing until the unit has reported something.

    /// Louder by this many of the 255 levels, quieter with a negative number.
    void change_volume(int levels);

    /// Switches an audio input on or off. @param input  1 or 2
    void switch_input(uint8_t input);

    /// Switches between mono and stereo; from any other mode to stereo.
    void switch_stereo();

    void switch_power_save();

private:
    void connect_identity();
    void connect_settings();
    void ask();
    void take_ended();
    void product_arrived(const QString &product);
    void debug_arrived(const QString &text);
    void forget();

    MonitorState m_state;
    bool m_failure_told = false; ///< whether it is known why the transfer failed whose result comes next
    uint8_t m_given_volume = 0;
    bool m_given_off[2] = {};

    std::mutex m_ended_lock;
    std::vector<UnitStatus> m_ended; ///< how transfers went, from the thread that makes them

    MonitorWatch m_watch; // before the thread that it watches
    QUSDevice m_device;
    UnitControls m_controls;
    QTimer m_question;
};

} // namespace kdmxctl
