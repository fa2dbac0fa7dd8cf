#pragma once

#include "usctl.h"

#include <QByteArray>
#include <QObject>

/**
 * The worker of the device object: it owns the found unit, performs each write and read and reports it by signal.
 *
 * Its slots block in transfers and pauses (a write with its read up to about 6 s on a unit that does not respond), so
 * they belong on a thread of their own; QUSDevice provides it. All signals are emitted on the thread that runs the
 * slot. When no unit is known, each transfer looks for one first: a unit plugged in later is found by the next one.
 * Rests on usctl.h and Qt Core.
 */
class QUSDeviceUnit : public QObject
{
    Q_OBJECT

public:
    /// Looks for the unit in the calling thread, without a transfer. @param parent must be null to change threads.
    explicit QUSDeviceUnit(QObject *parent = nullptr);
    ~QUSDeviceUnit() override;

Q_SIGNALS:
    /**
     * A write has ended; `result` is false when no unit was there or none of the attempts found it responding.
     *
     * True does not mean that the unit has it: a hard failure counts as sent (usctl_send()), and the read that follows
     * shows it.
     */
    void us_send_result(bool result);

    /// A read has ended: `usmsg_data` are all 64 bytes of the block, which mean nothing when `result` is false.
    void us_recv_result(bool result, const QByteArray &usmsg_data);

    /// The unit was forgotten; always true.
    void ret_deselect(bool ret);

    /// Whether a unit is known.
    void ret_is_selected(bool ret);

    /// Whether the look-up found a unit.
    void ret_select_default(bool ret);

    /// The worker is no longer needed; emitted by its owner, on the owner's thread.
    void finished();

public Q_SLOTS:
    /// Forgets the unit.
    void deselect();

    /// Reports whether a unit is known, after looking for one if not.
    void is_selected();

    /// Forgets the unit and looks for one.
    void select_default();

    /// Writes a message (its first 64 bytes) and then reads a block. Pauses after each.
    void us_send(const QByteArray &usmsg_data);

    /// Reads a block and pauses.
    void us_recv();

private:
    bool isSelected();
    bool send(const QByteArray &message);
    void pause() const;

    usdev_list_t m_devices = {};
    usdev_t *m_device = nullptr; ///< inside m_devices, or null
    unsigned long m_pause_ms;
};
