#include "deaflistener.h"
#include "instancechannel.h"
#include "messageclient.h"
#include "messageframe.h"
#include "messageserver.h"
#include "openfiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

// Sanitizers and busy machines slow everything down; no test waits that long when it passes.
constexpr int patience = 30000;

// Added where a time is measured. What goes wrong takes a minute.
constexpr qint64 toleranceMs = 15000;

const QByteArray acknowledgement(messageframe::acknowledgement);

std::unique_ptr<QLocalSocket> connectTo(const QString &serverName)
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(serverName);
    return socket;
}

bool isConnected(const std::unique_ptr<QLocalSocket> &socket)
{
    return socket->state() == QLocalSocket::ConnectedState;
}

} // namespace

class MessageServerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void receives_data();
    void receives();
    void acknowledgesBeforeItTells();
    void slotsMayRunAnEventLoop();
    void endsConnectionsAfterTheirTime_data();
    void endsConnectionsAfterTheirTime();
    void dropsTheOldest();
    void canBeDeletedAtAnyTime();
    void clientGivesUp_data();
    void clientGivesUp();
    void clientRefusesLongText();
    void clientTriesAgain();
    void clientBelievesOnlyTheAcknowledgement();

private:
    void start(const MessageServer::Limits &limits = {});
    void expectService();

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_serverName;
    std::unique_ptr<MessageServer> m_server;
};

void MessageServerTest::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    m_folder = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/kdmxt-XXXXXX"));
    QVERIFY(m_folder->isValid());
    // Only where channels are files.
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder->path()));
    m_serverName = instanceChannel(QStringLiteral("kdmx-messageserver-test")).serverName;
}

void MessageServerTest::cleanup()
{
    m_server.reset();
    QVERIFY(!QFile::exists(m_serverName));
}

void MessageServerTest::start(const MessageServer::Limits &limits)
{
    m_server = std::make_unique<MessageServer>(limits);
    QVERIFY(m_server->listen(m_serverName));
}

// A well-behaved sender is acknowledged.
void MessageServerTest::expectService()
{
    QSignalSpy spy(m_server.get(), &MessageServer::messageReceived);
    const auto socket = connectTo(m_serverName);
    socket->write(messageframe::fromText(QStringLiteral("hello")));
    QTRY_COMPARE_WITH_TIMEOUT(socket->bytesAvailable(), acknowledgement.size(), patience);
    QCOMPARE(socket->readAll(), acknowledgement);
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 1, patience);
    QCOMPARE(spy.constFirst().constFirst().toString(), QStringLiteral("hello"));
}

void MessageServerTest::receives_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("empty") << QString();
    QTest::newRow("japanese") << QString::fromUtf8("設定パネル");
    QTest::newRow("longest") << QString(messageframe::maximumTextSize, u'x');
}

void MessageServerTest::receives()
{
    QFETCH(QString, text);
    start();
    QSignalSpy spy(m_server.get(), &MessageServer::messageReceived);

    const auto socket = connectTo(m_serverName);
    socket->write(messageframe::fromText(text));
    QTRY_COMPARE_WITH_TIMEOUT(socket->bytesAvailable(), acknowledgement.size(), patience);
    QCOMPARE(socket->readAll(), acknowledgement);
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 1, patience);
    QCOMPARE(spy.constFirst().constFirst().toString(), text);
    QVERIFY(isConnected(socket));
}

void MessageServerTest::acknowledgesBeforeItTells()
{
    start();
    const auto socket = connectTo(m_serverName);
    QByteArray seen;
    connect(m_server.get(), &MessageServer::messageReceived, this, [&socket, &seen] {
        // Only what was sent by now can come: this is the thread that sends.
        if (socket->bytesAvailable() == 0)
            socket->waitForReadyRead(patience);
        seen = socket->readAll();
    });
    socket->write(messageframe::fromText(QStringLiteral("hello")));
    QTRY_VERIFY_WITH_TIMEOUT(seen.contains(acknowledgement), patience);
}

void MessageServerTest::slotsMayRunAnEventLoop()
{
    start({200ms, 256});
    QStringList received;
    QEventLoop inner;
    connect(m_server.get(), &MessageServer::messageReceived, this, [&](const QString &message) {
        received += message;
        if (message == QStringLiteral("outer"))
            inner.exec();
        else
            inner.quit();
    });
    const auto outer = connectTo(m_serverName);
    outer->write(messageframe::fromText(QStringLiteral("outer")));
    QTimer later;
    later.setSingleShot(true);
    const auto second = std::make_unique<QLocalSocket>();
    connect(&later, &QTimer::timeout, this, [&] {
        second->connectToServer(m_serverName);
        second->write(messageframe::fromText(QStringLiteral("inner")));
    });
    // By then the time of the first connection is over, so it ends while its slot still runs.
    later.start(400ms);
    QTRY_COMPARE_WITH_TIMEOUT(received.size(), 2, patience);
    QTRY_VERIFY_WITH_TIMEOUT(!isConnected(outer), patience);
    expectService();
}

void MessageServerTest::endsConnectionsAfterTheirTime_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("slowly");

    const QByteArray frame = messageframe::fromText(QString(1000, u'x'));
    QTest::newRow("silent") << QByteArray() << false;
    QTest::newRow("half a length") << frame.left(2) << false;
    QTest::newRow("half a text") << frame.left(500) << false;
    QTest::newRow("byte by byte") << frame << true;
    QTest::newRow("does not close") << frame << false;
    QTest::newRow("goes on after the text") << frame + QByteArray(1000000, 'x') << false;
}

void MessageServerTest::endsConnectionsAfterTheirTime()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, slowly);
    start({300ms, 256});

    const auto socket = connectTo(m_serverName);
    QElapsedTimer clock;
    clock.start();
    QTimer trickle;
    connect(&trickle, &QTimer::timeout, this, [&] {
        socket->write(bytes.left(1));
        bytes.remove(0, 1);
    });
    if (slowly)
        trickle.start(5ms);
    else
        socket->write(bytes);
    QTRY_VERIFY_WITH_TIMEOUT(!isConnected(socket), patience);
    QVERIFY2(clock.elapsed() >= 250, qPrintable(QString::number(clock.elapsed())));
    trickle.stop();
    expectService();
}

void MessageServerTest::dropsTheOldest()
{
    start({10min, 3});
    std::vector<std::unique_ptr<QLocalSocket>> silent;
    for (int i = 0; i < 3; ++i)
        silent.push_back(connectTo(m_serverName));
    expectService();
    QTRY_VERIFY_WITH_TIMEOUT(!isConnected(silent.at(0)), patience);
    QVERIFY(isConnected(silent.at(1)));
    QVERIFY(isConnected(silent.at(2)));
}

void MessageServerTest::canBeDeletedAtAnyTime()
{
    start();
    std::vector<std::unique_ptr<QLocalSocket>> senders;
    const QByteArray frame = messageframe::fromText(QStringLiteral("hello"));
    for (qsizetype size = 0; size < frame.size(); ++size) {
        senders.push_back(connectTo(m_serverName));
        senders.back()->write(frame.left(size));
    }
    expectService();
    const auto last = connectTo(m_serverName);
    last->write(messageframe::fromText(QStringLiteral("hello")));
    // Acknowledged, but the signal is still on its way: deleted in between.
    QSignalSpy spy(m_server.get(), &MessageServer::messageReceived);
    m_server.reset();
    QVERIFY(!QFile::exists(m_serverName));
    QTRY_VERIFY_WITH_TIMEOUT(!isConnected(last), patience);
    for (const auto &sender : senders)
        QTRY_VERIFY_WITH_TIMEOUT(!isConnected(sender), patience);
    QVERIFY(spy.isEmpty());
}

void MessageServerTest::clientGivesUp_data()
{
    QTest::addColumn<int>("backlog");
    QTest::addColumn<int>("timeout");
    QTest::addColumn<bool>("hopeless");
    QTest::addColumn<int>("expected");

    QTest::newRow("nobody listens yet") << -1 << 200 << false << 200;
    QTest::newRow("nobody will listen") << -1 << 60000 << true << 0;
    QTest::newRow("listener hangs") << 100 << 200 << false << 200;
    QTest::newRow("backlog is full") << 0 << 200 << false << 200;
    QTest::newRow("no time") << 100 << 0 << false << 0;
    QTest::newRow("negative time") << 100 << -1 << false << 0;
}

void MessageServerTest::clientGivesUp()
{
    QFETCH(int, backlog);
    QFETCH(int, timeout);
    QFETCH(bool, hopeless);
    QFETCH(int, expected);
    const auto listener = backlog < 0 ? nullptr : std::make_unique<DeafListener>(m_serverName, backlog);
    const auto occupant = connectTo(m_serverName);
    const qsizetype filesBefore = openFiles();

    QElapsedTimer clock;
    clock.start();
    const bool delivered = deliverMessage(m_serverName, QString(messageframe::maximumTextSize, u'x'), timeout,
                                          [hopeless] { return hopeless; });
    const qint64 elapsed = clock.elapsed();

    QVERIFY(!delivered);
    QVERIFY2(elapsed >= expected, qPrintable(QString::number(elapsed)));
    QVERIFY2(elapsed < expected + toleranceMs, qPrintable(QString::number(elapsed)));
    QCOMPARE(openFiles(), filesBefore);
    QFile::remove(m_serverName);
}

void MessageServerTest::clientRefusesLongText()
{
    start();
    QElapsedTimer clock;
    clock.start();
    const QString text(messageframe::maximumTextSize + 1, u'x');
    QVERIFY(!deliverMessage(m_serverName, text, 60000, [] { return false; }));
    QVERIFY(clock.elapsed() < toleranceMs);
}

// The connection of the first attempt ends unanswered with the listener; the next attempt finds another one.
void MessageServerTest::clientTriesAgain()
{
    auto deaf = std::make_unique<DeafListener>(m_serverName, 100);
    QVERIFY(deaf->listens());
    bool delivered = false;
    std::jthread sender([&delivered, name = m_serverName] {
        delivered = deliverMessage(name, QStringLiteral("again"), patience, [] { return false; });
    });
    QVERIFY(deaf->hasCaller(patience));
    deaf.reset();
    start();
    QSignalSpy spy(m_server.get(), &MessageServer::messageReceived);
    const bool received = QTest::qWaitFor([&spy] { return spy.size() == 1; }, patience);
    sender.join();
    QVERIFY(received);
    QVERIFY(delivered);
    QCOMPARE(spy.constFirst().constFirst().toString(), QStringLiteral("again"));
}

// Something else listens there and says something else.
void MessageServerTest::clientBelievesOnlyTheAcknowledgement()
{
    bool delivered = true;
    std::atomic<bool> hasAnswered = false;
    QLocalServer stranger;
    QVERIFY(stranger.listen(m_serverName));
    connect(&stranger, &QLocalServer::newConnection, this, [&] {
        QLocalSocket *const caller = stranger.nextPendingConnection();
        caller->write(QByteArray(acknowledgement.size(), '?'));
        caller->flush();
        hasAnswered = true;
    });
    // After the answer nobody will listen, so it ends at once.
    std::jthread sender([&, name = m_serverName] {
        delivered = deliverMessage(name, QStringLiteral("hello"), patience, [&] { return hasAnswered.load(); });
    });
    const bool answered = QTest::qWaitFor([&] { return hasAnswered.load(); }, patience);
    sender.join();
    QVERIFY(answered);
    QVERIFY(!delivered);
}

QTEST_GUILESS_MAIN(MessageServerTest)

#include "messageserver_test.moc"
