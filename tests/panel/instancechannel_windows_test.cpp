// The channel as a pipe.

#include "instancechannel.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QRegularExpression>
#include <QTest>

#include <memory>

#include <windows.h>

namespace {

const QString id = QStringLiteral("kdmx-0123456789abcdef0123");

// Qt by itself would wait for half a minute.
constexpr qint64 atOnce = 4000;

struct CloseHandleLater
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

using Handle = std::unique_ptr<void, CloseHandleLater>;

/// The one and only instance of the pipe, with nobody who serves it.
Handle makePipe()
{
    const std::wstring path = (QStringLiteral("\\\\.\\pipe\\") + id).toStdWString();
    return Handle(CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 0, 0, 0, nullptr));
}

} // namespace

class InstanceChannelWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral(".*"))); }

    void namesAMutexOfTheLogonSessionAndAPipe()
    {
        const InstanceChannel channel = instanceChannel(id);
        QCOMPARE(channel.lockName, QStringLiteral("Local\\") + id);
        QCOMPARE(channel.serverName, id);
        QCOMPARE(channel.errorText, QString());
    }

    void connectsToAListener()
    {
        QLocalServer server;
        QVERIFY2(server.listen(id), qPrintable(server.errorString()));
        QLocalSocket socket;
        QVERIFY(connectToChannel(socket, id));
        QCOMPARE(socket.state(), QLocalSocket::ConnectedState);
        QVERIFY(socket.isReadable() && socket.isWritable());
        QTRY_VERIFY(server.hasPendingConnections());

        const std::unique_ptr<QLocalSocket> accepted(server.nextPendingConnection());
        socket.write("there");
        QTRY_COMPARE(accepted->bytesAvailable(), 5);
        QCOMPARE(accepted->readAll(), QByteArray("there"));
        accepted->write("back");
        QTRY_COMPARE(socket.bytesAvailable(), 4);
        QCOMPARE(socket.readAll(), QByteArray("back"));
    }

    void knowsTheListenersProcess()
    {
        QLocalServer server;
        QVERIFY(server.listen(id));
        QLocalSocket socket;
        QVERIFY(connectToChannel(socket, id));
        // What the call rests on. Whether the listener may then come to the front, no call of the system tells.
        ULONG process = 0;
        QVERIFY(GetNamedPipeServerProcessId(reinterpret_cast<HANDLE>(socket.socketDescriptor()), &process));
        QCOMPARE(process, GetCurrentProcessId());
        allowForeground(socket);
    }

    void nobodyListens() { isRefusedAtOnce(); }

    void listenerIsBusy()
    {
        const Handle pipe = makePipe();
        QLocalSocket first;
        QVERIFY(connectToChannel(first, id));
        isRefusedAtOnce();
    }

private:
    static void isRefusedAtOnce()
    {
        QElapsedTimer clock;
        clock.start();
        QLocalSocket socket;
        QVERIFY(!connectToChannel(socket, id));
        QVERIFY2(clock.elapsed() < atOnce, qPrintable(QString::number(clock.elapsed())));
    }
};

QTEST_GUILESS_MAIN(InstanceChannelWindowsTest)
#include "instancechannel_windows_test.moc"
