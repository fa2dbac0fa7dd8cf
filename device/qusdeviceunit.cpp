#include "qusdeviceunit.h"

#include "devicethread.h"

#include <QThread>

#include <algorithm>
#include <cstring>

namespace {

// What the unit needs between two transfers.
constexpr unsigned long transferPause_ms = 10;

} // namespace

QUSDeviceUnit::QUSDeviceUnit(QObject *parent)
    : QObject(parent)
    , m_pause_ms(transferPause_ms)
{
    usdev_list_init(&m_devices);
    select_default();
}

QUSDeviceUnit::~QUSDeviceUnit()
{
    // Its thread may get here while the owner is still inside the signal that asks for it.
    const auto turn = DeviceThread::hold();
}

void QUSDeviceUnit::deselect()
{
    m_device = nullptr;
    Q_EMIT ret_deselect(true);
}

void QUSDeviceUnit::is_selected()
{
    Q_EMIT ret_is_selected(isSelected());
}

void QUSDeviceUnit::select_default()
{
    deselect();
    usdev_list_init(&m_devices);
    Q_EMIT ret_select_default(usdev_list_next(&m_devices, &m_device) == 0);
}

void QUSDeviceUnit::us_send(const QByteArray &usmsg_data)
{
    Q_EMIT us_send_result(isSelected() && send(usmsg_data));
    pause();
    us_recv();
}

void QUSDeviceUnit::us_recv()
{
    uint8_t bytes[USMSG_MAX_SIZE] = {};
    usmsg_buf_t block;
    usmsg_init(&block, bytes, sizeof(bytes));
    const bool result = isSelected() && usctl_recv(&m_device, &block) == 0;
    Q_EMIT us_recv_result(result, QByteArray(reinterpret_cast<const char *>(bytes), sizeof(bytes)));
    pause();
}

/// Whether a unit is known, after looking for one if not.
bool QUSDeviceUnit::isSelected()
{
    if (m_device == nullptr)
        select_default();
    return m_device != nullptr;
}

bool QUSDeviceUnit::send(const QByteArray &message)
{
    uint8_t bytes[USMSG_MAX_SIZE] = {};
    const auto length = static_cast<uint8_t>(std::min<qsizetype>(message.size(), sizeof(bytes)));
    std::memcpy(bytes, message.constData(), length);
    const usmsg_buf_t buf = {bytes, length, length};
    return usctl_send(&m_device, &buf) == 0;
}

void QUSDeviceUnit::pause() const
{
    QThread::msleep(m_pause_ms);
}
