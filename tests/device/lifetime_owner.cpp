// Owns a device for the life of the process, as the panel does, without windows: lifetime_test starts and ends it.

#include "ownerunit.h"
#include "qusdevice.h"
#include "requesting.h"

#include <QCoreApplication>

#include <cstdio>
#include <string_view>

namespace {

const OwnerUnit unit;
QUSDevice device;

int withoutApplication(int &, char **)
{
    requestEverything(&device);
    return 0;
}

int withoutEventLoop(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    requestEverything(&device);
    return 0;
}

int early(int &argc, char **argv)
{
    device.request_version();
    const QCoreApplication application(argc, argv);
    return awaitVersion(&device);
}

int inFlight(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    requestEverything(&device);
    unit.waitForTransfer();
    return 0;
}

int many(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    for (int round = 0; round < 1000; ++round)
        requestEverything(&device);
    return awaitEverything(&device);
}

struct Mode
{
    std::string_view name;
    int (*run)(int &argc, char **argv);
};

constexpr Mode modes[] = {
    {"without-application", withoutApplication},
    {"without-event-loop", withoutEventLoop},
    {"early", early},
    {"in-flight", inFlight},
    {"many", many},
};

} // namespace

int main(int argc, char **argv)
{
    for (const Mode &mode : modes) {
        if (argc == 2 && mode.name == argv[1])
            return mode.run(argc, argv);
    }
    std::fprintf(stderr, "Which mode?\n");
    return 2;
}
