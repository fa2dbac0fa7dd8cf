#include "qusdeviceunit.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

// An owner that takes the device worker's results on the worker's thread, and looks at them on its own.

namespace {

constexpr int rounds = 10;

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    int results = 0;
    QUSDeviceUnit unit;
    QThread thread;
    unit.moveToThread(&thread);
    QObject::connect(&unit, &QUSDeviceUnit::us_recv_result, [&results] { ++results; });
    thread.start();
    for (int round = 0; round < rounds; ++round)
        QMetaObject::invokeMethod(&unit, &QUSDeviceUnit::us_recv, Qt::QueuedConnection);
    // Longer than all the worker's pauses together.
    for (int round = 0; round < 20 * rounds; ++round) {
        ++results;
        QThread::msleep(1);
    }
    thread.quit();
    thread.wait();
    std::printf("%d\n", results);
}
