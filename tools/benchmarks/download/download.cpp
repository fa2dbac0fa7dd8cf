#include "updateinformation.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cstdio>

// Downloads the package at an address as the update service does, or nothing without an address, and prints what it
// took as a JSON object: seconds from the request until the installer is ready, and the most memory that was resident.
// The settings name the document on the server.

namespace {

constexpr double nanosecondsPerSecond = 1e9;

/// The peak of resident memory, in KiB. That of getrusage() begins with the parent's.
long peakKib()
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return 0;
}

void printFigures(const QElapsedTimer &clock)
{
    const double seconds = clock.isValid() ? static_cast<double>(clock.nsecsElapsed()) / nanosecondsPerSecond : 0;
    std::printf("{\"seconds\": %.6f, \"peakKib\": %ld}\n", seconds, peakKib());
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QString address = QCoreApplication::arguments().value(1);
    UpdateInformation information;
    QThread worker;
    QElapsedTimer clock;
    information.moveToThread(&worker);

    const auto begin = [&] {
        if (address.isEmpty()) {
            QCoreApplication::quit();
            return;
        }
        clock.start();
        QMetaObject::invokeMethod(&information, [&] { information.downloadFile(address); });
    };
    QObject::connect(&information, &UpdateInformation::finishedInformation, &application, begin);
    QObject::connect(&information, &UpdateInformation::readiedExec, &application, &QCoreApplication::quit);
    QObject::connect(&information, &UpdateInformation::errorDownloadFile, &application,
                     [] { QCoreApplication::exit(1); });
    QObject::connect(&worker, &QThread::finished, &information, &UpdateInformation::shutDown, Qt::DirectConnection);
    worker.start();
    QMetaObject::invokeMethod(&information, &UpdateInformation::downloadInformation);

    const int status = QCoreApplication::exec();
    if (status == 0)
        printFigures(clock);
    worker.exit(0);
    worker.wait();
    return status;
}
