// Owns devices that come and go while the program runs: lifetime_test starts and ends it.

#include "ownerunit.h"
#include "qusdevice.h"
#include "requesting.h"

#include <QCoreApplication>

#include <cstdio>
#include <string_view>

namespace {

const OwnerUnit unit;

/// Runs the event loop for some turns, so that what was posted about a device that is gone comes to light.
void turn()
{
    for (int count = 0; count < 10; ++count) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}

int onTheStack(QCoreApplication *)
{
    QUSDevice device;
    device.request_version();
    return awaitVersion(&device);
}

int unanswered(QCoreApplication *)
{
    QUSDevice device;
    requestEverything(&device);
    return 0;
}

/// Deleted by an event, between its own events.
int deletedLater(QCoreApplication *)
{
    auto *const device = new QUSDevice;
    device->request_version();
    QObject::connect(device, &QUSDevice::sig_recv_version, device, &QObject::deleteLater);
    QObject::connect(device, &QObject::destroyed, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    const int code = QCoreApplication::exec();
    turn();
    return code;
}

int oneAfterTheOther(QCoreApplication *)
{
    for (int count = 0; count < 12; ++count) {
        QUSDevice device;
        requestEverything(&device);
        if (count % 2 == 0 && awaitVersion(&device) != 0)
            return 1;
        if (count % 3 == 0)
            turn();
    }
    turn();
    return 0;
}

/// Deleted by the application object, which is no longer whole by then.
int childOfTheApplication(QCoreApplication *application)
{
    auto *const device = new QUSDevice(application);
    requestEverything(device);
    return awaitVersion(device);
}

struct Mode
{
    std::string_view name;
    int (*run)(QCoreApplication *application);
};

constexpr Mode modes[] = {
    {"on-the-stack", onTheStack},
    {"unanswered", unanswered},
    {"deleted-later", deletedLater},
    {"one-after-the-other", oneAfterTheOther},
    {"child-of-the-application", childOfTheApplication},
};

/// A device that is older than the application object and outlives it, and is asked in between.
int around(int &argc, char **argv)
{
    QUSDevice device;
    requestEverything(&device);
    const QCoreApplication application(argc, argv);
    return awaitVersion(&device);
}

} // namespace

int main(int argc, char **argv)
{
    const std::string_view name = argc == 2 ? argv[1] : "";
    if (name == "around")
        return around(argc, argv);
    QCoreApplication application(argc, argv);
    for (const Mode &mode : modes) {
        if (mode.name == name)
            return mode.run(&application);
    }
    std::fprintf(stderr, "Which mode?\n");
    return 2;
}
