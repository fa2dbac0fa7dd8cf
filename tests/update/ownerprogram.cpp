// Owns the service for a test that ends it: downloads the package at the address that is its argument, prints the path
// of the installer in UTF-8, starts it as soon as a line comes on standard input, and ends. "stay" as a second argument
// lets it go on until it is killed.

#include "debuglines.h"
#include "packageservice.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTest>

#include <cstdio>

namespace {

bool readLine()
{
    char line[16];
    return std::fgets(line, sizeof line, stdin) != nullptr;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const DebugLines lines;
    PackageService service;
    if (!service.fetch())
        return 1;
    service.download(arguments.value(1));
    if (!QTest::qWaitFor([&] { return service.events().contains(QStringLiteral("ready")); }, 30'000))
        return 2;
    service.settle();
    const QStringList told = DebugLines::take();
    std::printf("%s\n", told.last().section(u' ', 2).toUtf8().constData());
    std::fflush(stdout);
    if (!readLine())
        return 3;
    service.launch();
    service.settle();
    if (service.events().contains(QStringLiteral("error")))
        return 4;
    return arguments.value(2) == QStringLiteral("stay") ? QCoreApplication::exec() : 0;
}
