// A minimal program that uses QtSingleApplication as a main() does. The tests start it as many processes.
//
// It prints one event per line: "first", or "running", then "acknowledged" or "refused", then "after <n> ms". The
// first process prints each message it receives and ends on the message "quit".

#include "instancechannel.h"
#include "qtsingleapplication.h"

#include <QElapsedTimer>
#include <QLocalSocket>

#include <cstdio>
#include <memory>

namespace {

void print(const QString &line)
{
    std::fprintf(stdout, "%s\n", qUtf8Printable(line));
    std::fflush(stdout);
}

/// The first two arguments may be "--id" and the id: plain argv, for the application object is made with it.
std::unique_ptr<QtSingleApplication> makeApplication(int &argc, char **argv)
{
    if (argc < 3 || qstrcmp(argv[1], "--id") != 0)
        return std::make_unique<QtSingleApplication>(argc, argv);
    return std::make_unique<QtSingleApplication>(QString::fromLocal8Bit(argv[2]), argc, argv);
}

/// Not from argv, which has lost what the system's code page has no letter for.
QString option(const QString &name, const QString &otherwise)
{
    const QStringList arguments = QCoreApplication::arguments();
    const qsizetype place = arguments.indexOf(name);
    return place < 0 ? otherwise : arguments.value(place + 1);
}

int tryToConnect(const QString &serverName)
{
    QLocalSocket socket;
    const bool connected = connectToChannel(socket, serverName);
    print(connected ? QStringLiteral("connected") : QStringLiteral("refused"));
    return connected ? 0 : 1;
}

int send(QtSingleApplication &application, const QString &message, int timeout)
{
    print(QStringLiteral("running"));
    QElapsedTimer clock;
    clock.start();
    const bool acknowledged = application.sendMessage(message, timeout);
    const qint64 elapsed = clock.elapsed();
    print(acknowledged ? QStringLiteral("acknowledged") : QStringLiteral("refused"));
    print(QStringLiteral("after %1 ms").arg(elapsed));
    return acknowledged ? 0 : 1;
}

int receive(QtSingleApplication &application)
{
    QObject::connect(&application, &QtSingleApplication::messageReceived, &application, [](const QString &message) {
        print(QStringLiteral("message ") + message);
        if (message == QStringLiteral("quit"))
            QCoreApplication::quit();
    });
    print(QStringLiteral("first"));
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    const auto application = makeApplication(argc, argv);
    const QString message = option(QStringLiteral("--message"), QStringLiteral("show"));
    const int timeout = option(QStringLiteral("--timeout"), QStringLiteral("40000")).toInt();
    const QString serverName = option(QStringLiteral("--connect"), QString());
    if (!serverName.isEmpty())
        return tryToConnect(serverName);
    if (application->isRunning())
        return send(*application, message, timeout);
    return receive(*application);
}
