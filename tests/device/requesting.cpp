#include "requesting.h"

#include "qusdevice.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>

namespace {

constexpr std::chrono::seconds patience(30);

/// Runs the event loop until `hasCome` holds, and asks for the sample rate now and then. Results as in the header.
template <typename Condition>
int await(QUSDevice *device, Condition hasCome)
{
    QEventLoop loop;
    QTimer limit;
    QObject::connect(&limit, &QTimer::timeout, &loop, [&loop] { loop.exit(1); });
    limit.start(patience);
    const auto look = [&loop, &hasCome] {
        if (hasCome())
            loop.exit(0);
    };
    QTimer clock;
    QObject::connect(&clock, &QTimer::timeout, &loop, [device, look] {
        // Pending requests wait for the next read, and a read comes with the next request.
        device->request_hz();
        look();
    });
    clock.start(std::chrono::milliseconds(15));
    return loop.exec();
}

} // namespace

void requestEverything(QUSDevice *device)
{
    device->request_version();
    device->request_hz();
    device->request_autopowersave();
    device->request_stereo();
    device->request_mute();
    device->request_fader();
    device->set_autopowersave(1);
    device->set_monitor_mode(USMSG_DATA_CH_TYPE_STEREO);
    device->set_u32(7);
    device->set_input_switch(USMSG_DATA_CH_ANALOG_IN, 1, 1);
    device->set_input_switch(USMSG_DATA_CH_ANALOG_IN, 2, 1);
    device->set_input_volume(USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, 99);
}

int awaitVersion(QUSDevice *device)
{
    QEventLoop loop;
    QTimer::singleShot(patience, &loop, [&loop] { loop.exit(1); });
    QObject::connect(device, &QUSDevice::sig_recv_version, &loop, &QEventLoop::quit);
    return loop.exec();
}

int awaitEverything(QUSDevice *device)
{
    bool version = false;
    bool hz = false;
    bool autopowersave = false;
    bool stereo = false;
    bool fader = false;
    int mutes = 0;
    QObject context;
    QObject::connect(device, &QUSDevice::sig_recv_version, &context, [&] { version = true; });
    QObject::connect(device, &QUSDevice::sig_recv_hz, &context, [&] { hz = true; });
    QObject::connect(device, &QUSDevice::sig_recv_autopowersave, &context, [&] { autopowersave = true; });
    QObject::connect(device, &QUSDevice::sig_recv_stereo, &context, [&] { stereo = true; });
    QObject::connect(device, &QUSDevice::sig_recv_fader, &context, [&] { fader = true; });
    QObject::connect(device, &QUSDevice::sig_recv_mute, &context,
                     [&](usmsg_data_ch_t, uint8_t ch_no, bool) { mutes |= ch_no; });
    return await(device, [&] { return version && hz && autopowersave && stereo && fader && mutes == 3; });
}
