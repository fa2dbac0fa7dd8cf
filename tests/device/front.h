#pragma once

#include "qusdevice.h"
#include "usmsg.h"

#include <QByteArray>

#include <cstdint>
#include <vector>

/**
 * A device whose worker is left out: what goes to the worker is recorded, and the test gives the worker's results. So
 * the front is seen step by step, at its own speed.
 */
class Front
{
public:
    using Bytes = std::vector<uint8_t>;

    Front();

    /// Delivers a block that begins with these bytes, filled up with zeros to 64.
    void deliver(const Bytes &bytes);

    /// The unit says that it is ready.
    void deliverReady() { deliver({0xA1, 2, 1}); }

    /// Messages that went to the worker, and how many reads were asked of it.
    std::vector<Bytes> sent;
    int reads = 0;

    QUSDevice device;
};

inline Front::Front()
{
    QObject::disconnect(&device, &QUSDevice::sig_us_send, nullptr, nullptr);
    QObject::disconnect(&device, &QUSDevice::sig_us_recv, nullptr, nullptr);
    QObject::connect(&device, &QUSDevice::sig_us_send,
                     [this](const QByteArray &message) { sent.emplace_back(message.begin(), message.end()); });
    QObject::connect(&device, &QUSDevice::sig_us_recv, [this] { ++reads; });
}

inline void Front::deliver(const Bytes &bytes)
{
    QByteArray block(reinterpret_cast<const char *>(bytes.data()), static_cast<qsizetype>(bytes.size()));
    block.resize(USMSG_MAX_SIZE, '\0');
    device.recv_us_recv_result(true, block);
}
