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

// Plain argv: the application object takes what it needs from here.
QString option(int argc, char **argv, const char *name, const QString &otherwise)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], name) == 0)
            return QString::fromLocal8Bit(argv[i + 1]);
    }
    return otherwise;
}

std::unique_ptr<QtSingleApplication> makeApplication(const QString &id, int &argc, char **argv)
{
    if (id.isEmpty())
        return std::make_unique<QtSingleApplication>(argc, argv);
    return std::make_unique<QtSingleApplication>(id, argc, argv);
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
    const QString id = option(argc, argv, "--id", QString());
    const QString message = option(argc, argv, "--message", QStringLiteral("show"));
    const int timeout = option(argc, argv, "--timeout", QStringLiteral("5000")).toInt();
    const QString serverName = option(argc, argv, "--connect", QString());

    const auto application = makeApplication(id, argc, argv);
    if (!serverName.isEmpty())
        return tryToConnect(serverName);
    if (application->isRunning())
        return send(*application, message, timeout);
    return receive(*application);
}
