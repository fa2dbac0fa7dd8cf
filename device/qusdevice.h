#pragma once

#include "requests.h"
#include "usmsg.h"

#include <QByteArray>
#include <QMetaType>
#include <QObject>
#include <QPointer>
#include <QString>

#include <cstdint>
#include <memory>

class DeviceThread;
class QUSDeviceUnit;
class TransferGate;

Q_DECLARE_METATYPE(usmsg_data_ch_t)
Q_DECLARE_METATYPE(usmsg_data_ch_type_t)

/**
 * The recorder unit as a Qt object: takes requests, packs them into messages, and announces by signal what the unit
 * reports.
 *
 * Only construction (which looks for the unit) and destruction wait for it; a worker (QUSDeviceUnit) does the rest on a
 * thread of its own. Requests wait until the unit has said that it is ready, and are sent as many at a time as fit into
 * a message. Nothing polls a busy unit: pending requests wait for the next read, and a read comes with the next
 * request, so ask again if you still need an answer.
 *
 * May be made before the application object and may outlive it; requests made early are carried out once there is one.
 * Only one QUSDevice per process may talk to the unit: the device link knows one unit, and while a device ends, all
 * transfers are refused. Belongs to the thread that makes it, and is called and emits there. Rests on usctl.h and Qt
 * Core.
 *
 * A failed transfer is no error to the user: it resets what was announced about the unit's identity (version and build
 * 0, empty texts), which is how listeners learn that the unit is gone.
 */
class QUSDevice : public QObject
{
    Q_OBJECT

public:
    /// Looks for the unit and starts the worker. @param parent  owner, or null
    explicit QUSDevice(QObject *parent = nullptr);

    /**
     * Ends the worker: no transfer begins any more, and the one in flight is waited for (on Windows called off). A
     * worker that hangs for longer than 3 s is left behind with what it uses.
     */
    ~QUSDevice() override;

    // Requests. Each is remembered, once, and sent when the unit is ready. Once it is in a message it is forgotten,
    // whether or not the unit received it: ask, or set, again if needed.

    /// Asks for the identity: sig_recv_version, _build, _productname, _builddate, _buildtime.
    void request_version();

    /// Asks for the sample rate: sig_recv_hz.
    void request_hz();

    /// Asks for the auto power save setting: sig_recv_autopowersave.
    void request_autopowersave();

    /// Asks for the stereo mode of the direct monitor: sig_recv_stereo.
    void request_stereo();

    /// Asks for the mutes of audio inputs 1 and 2: sig_recv_mute for each.
    void request_mute();

    /// Asks for the fader level of the direct monitor: sig_recv_fader.
    void request_fader();

    /// Switches auto power save; 0 is off.
    void set_autopowersave(uint8_t value);

    /// Sets the stereo mode of the direct monitor, usmsg_data_ch_type_t; the low byte is sent.
    void set_monitor_mode(uint32_t mode);

    /// Sends the setting USMSG_ID_SET_U32.
    void set_u32(uint32_t value);

    /**
     * Sets the mute of an audio input.
     *
     * Trips people: a value equal to the one asked for last is accepted and not sent, even if that one never reached
     * the unit; to send it again, set another one first. The first is compared with 0.
     *
     * @param ch_type  USMSG_DATA_CH_ANALOG_IN
     * @param ch_no    1 or 2
     * @param value    0 switches the input on
     * @return whether the channel was accepted
     */
    bool set_input_switch(uint32_t ch_type, uint8_t ch_no, uint8_t value);

    /**
     * Sets the input volume. A value equal to the one asked for last is not sent, as with set_input_switch().
     *
     * @param ch_type  USMSG_DATA_CH_DIRECTMONITOR_OUT
     * @param ch_no    1
     * @return whether the channel was accepted
     */
    bool set_input_volume(uint32_t ch_type, uint8_t ch_no, uint8_t value);

    /// Forgets the identity and announces that it is unknown. Sends nothing.
    void reset_identity();

Q_SIGNALS:
    /// To the worker: forget the unit.
    void sig_deselect();

    /// To the worker: is a unit known?
    void sig_is_selected();

    /// To the worker: write this message, then read.
    void sig_us_send(const QByteArray &usmsg_data);

    /// To the worker: read.
    void sig_us_recv();

    /// Debug text of the unit's firmware.
    void sig_recv_debug(const QString &debug_log);

    /// Sample rate in Hz.
    void sig_recv_hz(uint32_t hz);

    /// Whether auto power save is on.
    void sig_recv_autopowersave(bool mode);

    /// Stereo mode of a channel; may be a number without a name.
    void sig_recv_stereo(usmsg_data_ch_t ch_type, uint8_t ch_no, usmsg_data_ch_type_t mode);

    /// Whether a channel is muted.
    void sig_recv_mute(usmsg_data_ch_t ch_type, uint8_t ch_no, bool on);

    /// Fader level of a channel, 0 to 255.
    void sig_recv_fader(usmsg_data_ch_t ch_type, uint8_t ch_no, uint8_t value);

    /// Firmware version; 0 when the identity was reset.
    void sig_recv_version(uint16_t version);

    /// Firmware build number; 0 when the identity was reset.
    void sig_recv_build(uint16_t build);

    /// Product name; empty when the identity was reset.
    void sig_recv_productname(const QString &productname);

    /// Build date of the firmware; empty when the identity was reset.
    void sig_recv_builddate(const QString &builddate);

    /// Build time of the firmware; empty when the identity was reset.
    void sig_recv_buildtime(const QString &buildtime);

public Q_SLOTS:
    /// From the worker: the unit was forgotten.
    void recv_deselect(bool ret);

    /// From the worker: whether a unit is known.
    void recv_is_selected(bool ret);

    /// From the worker: a write has ended. False resets the identity.
    void recv_us_send_result(bool result);

    /// From the worker: a read has ended. False resets the identity, and the data mean nothing.
    void recv_us_recv_result(bool result, const QByteArray &usmsg_data);

private:
    /// What is under way in one direction.
    enum State : int {
        Idle = 0,
        Again = 1, ///< in flight, and wanted once more
        InFlight = 2,
    };

    struct Element;
    struct Channel;

    void startWorker();
    bool waitForWorker();
    void connectWorker();
    void sendRequests();
    void requestRead();
    void parse(const QByteArray &usmsg_data);
    void parseBlock(usmsg_buf_t *block, Channel *channel);
    void dispatch(const Element &element, Channel *channel);
    void dispatchChannelValue(const Element &element, const Channel &channel);
    void dispatchIdentity(const Element &element);
    void takeReadyFlag(bool ready);

    int m_sendState = Idle;
    int m_receiveState = Idle;
    uint8_t m_unitReady = 0;
    requests::Queries m_queries;
    uint16_t m_version = 0;
    uint16_t m_build = 0;
    QString m_buildDate;
    QString m_buildTime;
    QPointer<QUSDeviceUnit> m_unit; ///< lives on m_thread; deletes itself there, or is deleted after its end
    QPointer<DeviceThread> m_thread;
    uint8_t m_deselected = 0; ///< what recv_deselect() was given last; nothing uses it yet
    uint8_t m_selected = 0; ///< what recv_is_selected() was given last; nothing uses it yet
    requests::Settings m_settings;
    std::unique_ptr<TransferGate> m_gate;
};
