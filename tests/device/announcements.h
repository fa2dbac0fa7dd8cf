#pragma once

#include "qusdevice.h"

#include <QString>
#include <QStringList>

/// Everything that a device announces of its unit, as lines of text in order.
class Announcements
{
public:
    explicit Announcements(QUSDevice *device)
    {
        const auto number = [this](const char *name) {
            return [this, name](auto value) { lines += QStringLiteral("%1 %2").arg(QLatin1String(name)).arg(value); };
        };
        const auto text = [this](const char *name) {
            return [this, name](const QString &value) {
                lines += QStringLiteral("%1 '%2'").arg(QLatin1String(name), value);
            };
        };
        const auto channel = [this](const char *name) {
            return [this, name](usmsg_data_ch_t ch, uint8_t ch_no, auto value) {
                lines += QStringLiteral("%1 %2/%3 %4")
                             .arg(QLatin1String(name))
                             .arg(static_cast<uint32_t>(ch))
                             .arg(ch_no)
                             .arg(static_cast<uint32_t>(value));
            };
        };
        QObject::connect(device, &QUSDevice::sig_recv_debug, text("debug"));
        QObject::connect(device, &QUSDevice::sig_recv_hz, number("hz"));
        QObject::connect(device, &QUSDevice::sig_recv_autopowersave, number("autopowersave"));
        QObject::connect(device, &QUSDevice::sig_recv_stereo, channel("stereo"));
        QObject::connect(device, &QUSDevice::sig_recv_mute, channel("mute"));
        QObject::connect(device, &QUSDevice::sig_recv_fader, channel("fader"));
        QObject::connect(device, &QUSDevice::sig_recv_version, number("version"));
        QObject::connect(device, &QUSDevice::sig_recv_build, number("build"));
        QObject::connect(device, &QUSDevice::sig_recv_productname, text("product"));
        QObject::connect(device, &QUSDevice::sig_recv_builddate, text("date"));
        QObject::connect(device, &QUSDevice::sig_recv_buildtime, text("time"));
    }

    /// What was announced since the last call.
    QStringList take() { return std::exchange(lines, {}); }

    QStringList lines;
};
