#include "instancechannel.h"
#include "messageframe.h"
#include "openfiles.h"
#include "probefixture.h"
#include "qtsingleapplication.h"
#include "sanitizers.h"
#include "webbrowser.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr bool slow = underAddressSanitizer || underThreadSanitizer;

// Added where a time is measured: what a machine that stands still now and then may need. What goes wrong takes half a
// minute.
constexpr int tolerance = 15000;

const QString applicationName = QStringLiteral("QtSingleApplicationTest");

using Senders = std::vector<std::unique_ptr<QLocalSocket>>;

std::unique_ptr<QLocalSocket> makeSender(const QString &serverName)
{
    std::unique_ptr<QLocalSocket> socket;
    const auto connects = [&] {
        socket = std::make_unique<QLocalSocket>();
        if (!connectToChannel(*socket, serverName))
            socket.reset(); // It might go on by itself, and take the place of the next one.
        return socket != nullptr;
    };
    // A listener that is busy has to get on with its work: it may be this very process.
    if (!QTest::qWaitFor(connects, ProbeFixture::patience))
        qFatal("The listener stayed busy.");
    return socket;
}

} // namespace

Q_DECLARE_METATYPE(std::function<void(QLocalSocket *)>)

class QtSingleApplicationTest : public ProbeFixture
{
    Q_OBJECT

public:
    using ProbeFixture::ProbeFixture;

private Q_SLOTS:
    // The test itself is the first process, except at the beginning.
    void sendsNothingWhenNobodyListens();
    void becomesTheFirst();
    void receivesFromAnotherProcess();
    void messageActivatesTheWindow();
    void messageIsNotActedOn_data();
    void messageIsNotActedOn();
    void messageLeavesTheWindowAlone();
    void activatesNothing();
    void survivesSenders_data();
    void survivesSenders();

    // All processes are probes.
    void oneOfManyStartsWins();
    void nextTakesOverAfterKill();
    void stoppedFirstIsNotWaitedForLonger();
    void deadFirstIsNotWaitedFor();
    void programsAreApart();
    void endsWithOpenConnections();

private:
    void expectAcknowledged(const QStringList &arguments = {}, const QString &program = ProbeProcess::program());
    InstanceChannel ownChannel() const { return instanceChannel(idOf(applicationName)); }
    InstanceChannel probeChannel() const;
    QString copyIn(const QString &folder) const;
};

void QtSingleApplicationTest::expectAcknowledged(const QStringList &arguments, const QString &program)
{
    const Probe probe = start(arguments, program);
    QTRY_VERIFY_WITH_TIMEOUT(probe->ended(), patience);
    QVERIFY(probe->printed(QStringLiteral("acknowledged")));
    QCOMPARE(probe->exitCode(), 0);
    QCOMPARE(probe->errors(), QString());
}

QString QtSingleApplicationTest::copyIn(const QString &folder) const
{
    return m_runtime->filePath(folder + u'/' + QFileInfo(ProbeProcess::program()).fileName());
}

InstanceChannel QtSingleApplicationTest::probeChannel() const
{
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime->path()));
    InstanceChannel channel = instanceChannel(idOf(QFileInfo(ProbeProcess::program()).canonicalFilePath()));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_ownRuntime));
    return channel;
}

void QtSingleApplicationTest::sendsNothingWhenNobodyListens()
{
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!m_application.sendMessage(QStringLiteral("hello"), 60000));
    QVERIFY2(clock.elapsed() < tolerance, qPrintable(QString::number(clock.elapsed())));
}

void QtSingleApplicationTest::becomesTheFirst()
{
    QCOMPARE(m_application.id(), applicationName);
    QVERIFY(!m_application.isRunning());
    QVERIFY(!m_application.isRunning());
    // To itself: nobody would ever read it.
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!m_application.sendMessage(QStringLiteral("hello"), 60000));
    QVERIFY2(clock.elapsed() < tolerance, qPrintable(QString::number(clock.elapsed())));
}

void QtSingleApplicationTest::receivesFromAnotherProcess()
{
    QSignalSpy spy(&m_application, &QtSingleApplication::messageReceived);
    const QString message = QString::fromUtf8("設定を開く");
    const ProbeProcess probe(m_ownRuntime,
                             {QStringLiteral("--id"), applicationName, QStringLiteral("--message"), message});
    QTRY_VERIFY_WITH_TIMEOUT(probe.ended(), patience);
    QVERIFY(probe.printed(QStringLiteral("acknowledged")));
    QCOMPARE(probe.exitCode(), 0);
    QCOMPARE(probe.errors(), QString());
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 1, patience);
    QCOMPARE(spy.constFirst().constFirst().toString(), message);
}

void QtSingleApplicationTest::messageActivatesTheWindow()
{
    QWidget window;
    window.setWindowState(Qt::WindowMaximized | Qt::WindowMinimized);
    window.show();
    m_application.setActivationWindow(&window);
    m_application.setActivationWindow(&window);
    QCOMPARE(m_application.activationWindow(), &window);
    QVERIFY(window.isMinimized());

    const ProbeProcess probe(m_ownRuntime, {QStringLiteral("--id"), applicationName});
    QTRY_VERIFY_WITH_TIMEOUT(probe.ended(), patience);
    // The window manager tells of one state after the other.
    QTRY_VERIFY_WITH_TIMEOUT(!window.isMinimized() && window.isMaximized(), patience);
    QVERIFY(window.isVisible());
}

void QtSingleApplicationTest::messageIsNotActedOn_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("path") << QStringLiteral("%1");
    QTest::newRow("command") << QStringLiteral("touch %1");
    QTest::newRow("web address") << QStringLiteral("https://www.velmar.example/");
    QTest::newRow("HTML") << QStringLiteral("<h1>Title</h1><img src=\"file://%1\">");
}

// Taken for what it looks like, a text would open an address or a window, or make the file.
void QtSingleApplicationTest::messageIsNotActedOn()
{
    QFETCH(QString, text);
    const QString file = m_runtime->filePath(QStringLiteral("named-by-the-text"));
    const QString message = text.contains(QStringLiteral("%1")) ? text.arg(file) : text;
    const WebBrowser browser;
    QWidget window;
    window.setWindowTitle(QStringLiteral("Panel"));
    window.setWindowState(Qt::WindowMinimized);
    window.show();
    m_application.setActivationWindow(&window);
    QSignalSpy spy(&m_application, &QtSingleApplication::messageReceived);
    const qsizetype windows = QApplication::topLevelWidgets().size();

    const ProbeProcess probe(m_ownRuntime,
                             {QStringLiteral("--id"), applicationName, QStringLiteral("--message"), message});
    QTRY_VERIFY_WITH_TIMEOUT(probe.ended(), patience);
    QTRY_COMPARE_WITH_TIMEOUT(spy.count(QVariantList{message}), 1, patience);
    QTRY_VERIFY_WITH_TIMEOUT(!window.isMinimized(), patience);
    QCOMPARE(window.windowTitle(), QStringLiteral("Panel"));
    QCOMPARE(QApplication::topLevelWidgets().size(), windows);
    QCOMPARE(browser.opened, QStringList());
    QVERIFY(!QFileInfo::exists(file));
}

void QtSingleApplicationTest::messageLeavesTheWindowAlone()
{
    QWidget window;
    window.setWindowState(Qt::WindowMinimized);
    window.show();
    m_application.setActivationWindow(&window);
    m_application.setActivationWindow(&window, false);

    Q_EMIT m_application.messageReceived(QStringLiteral("hello"));
    QVERIFY(window.isMinimized());
    m_application.activateWindow();
    QVERIFY(!window.isMinimized());
}

void QtSingleApplicationTest::activatesNothing()
{
    auto window = std::make_unique<QWidget>();
    m_application.setActivationWindow(window.get());
    window.reset();
    QCOMPARE(m_application.activationWindow(), nullptr);
    m_application.activateWindow();
    m_application.setActivationWindow(nullptr);
    Q_EMIT m_application.messageReceived(QStringLiteral("hello"));
}

void QtSingleApplicationTest::survivesSenders_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<std::function<void(QLocalSocket *)>>("behave");

    const auto row = [](const char *name, int count, const std::function<void(QLocalSocket *)> &behave) {
        QTest::newRow(name) << count << behave;
    };
    const auto endless = [](const QByteArray &beginning) {
        return [beginning](QLocalSocket *socket) {
            const QByteArray chunk(8192, 'x');
            connect(socket, &QLocalSocket::bytesWritten, socket, [socket, chunk] {
                if (socket->bytesToWrite() == 0)
                    socket->write(chunk);
            });
            socket->write(beginning + chunk);
        };
    };
    const auto trickle = [](QLocalSocket *socket) {
        auto *timer = new QTimer(socket);
        auto sent = std::make_shared<qsizetype>(0);
        connect(timer, &QTimer::timeout, socket,
                [socket, sent] { socket->write(messageframe::fromText(QString(60000, u'x')).mid((*sent)++, 1)); });
        timer->start(1);
    };
    const auto halfAndGone = [](QLocalSocket *socket) {
        socket->write(messageframe::fromText(QString(1000, u'x')).left(500));
        socket->disconnectFromServer();
    };
    const auto neverReads = [](QLocalSocket *socket) {
        socket->setReadBufferSize(1);
        socket->write(messageframe::fromText(QStringLiteral("hello")));
    };

    row("silent", 20, [](QLocalSocket *) {});
    row("endless garbage", 5, endless(QByteArray()));
    row("endless after a text", 5, endless(messageframe::fromText(QStringLiteral("hostile"))));
    row("oversized", 20, endless(QByteArray("\xff\xff\xff\xff")));
    row("one byte too long", 20, endless(QByteArray("\0\1\0\1", 4)));
    row("half a text, then gone", 20, halfAndGone);
    row("byte by byte", 20, trickle);
    row("other protocol", 20, [](QLocalSocket *socket) { socket->write("GET / HTTP/1.1\r\n\r\n"); });
    row("broken text", 20, [](QLocalSocket *socket) { socket->write(QByteArray("\0\0\0\4\xff\xfe\0\x80", 8)); });
    row("never reads", 20, neverReads);
    row("gone at once", 20, [](QLocalSocket *socket) { socket->abort(); });
    row("very many", 300, [](QLocalSocket *) {});
}

void QtSingleApplicationTest::survivesSenders()
{
    QFETCH(int, count);
    QFETCH(std::function<void(QLocalSocket *)>, behave);
    const qsizetype filesBefore = openFiles();
    QSignalSpy spy(&m_application, &QtSingleApplication::messageReceived);

    Senders senders;
    for (int i = 0; i < count; ++i) {
        senders.push_back(makeSender(ownChannel().serverName));
        behave(senders.back().get());
    }
    for (int i = 0; i < 2; ++i) {
        const ProbeProcess probe(
            m_ownRuntime,
            {QStringLiteral("--id"), applicationName, QStringLiteral("--message"), QStringLiteral("well behaved")});
        QTRY_VERIFY_WITH_TIMEOUT(probe.ended(), patience);
        QVERIFY(probe.printed(QStringLiteral("acknowledged")));
        QCOMPARE(probe.errors(), QString());
    }
    QTRY_COMPARE_WITH_TIMEOUT(spy.count(QVariantList{QStringLiteral("well behaved")}), 2, patience);
    senders.clear();
    // An earlier connection may have gone meanwhile.
    QTRY_VERIFY_WITH_TIMEOUT(openFiles() <= filesBefore, patience);
}

void QtSingleApplicationTest::oneOfManyStartsWins()
{
    bool isNumber = false;
    const int wanted = qEnvironmentVariableIntValue("KDMX_STORM_STARTS", &isNumber);
    const int count = isNumber ? wanted : slow ? 20 : 100;

    std::vector<Probe> probes;
    for (int i = 0; i < count; ++i)
        probes.push_back(start());
    const auto countOf = [&probes](const QString &line) {
        return std::count_if(probes.cbegin(), probes.cend(), [&](const Probe &probe) { return probe->printed(line); });
    };
    const auto ended = [&probes] {
        return std::count_if(probes.cbegin(), probes.cend(), [](const Probe &probe) { return probe->ended(); });
    };
    QTRY_COMPARE_WITH_TIMEOUT(ended(), count - 1, patience);
    QTRY_COMPARE_WITH_TIMEOUT(countOf(QStringLiteral("first")), 1, patience);
    QCOMPARE(countOf(QStringLiteral("acknowledged")), count - 1);

    int slowest = 0;
    for (const Probe &probe : probes) {
        slowest = qMax(slowest, probe->sendingTime());
        QCOMPARE(probe->errors(), QString());
        QCOMPARE(probe->exitCode(), probe->ended() ? 0 : -1);
        if (!probe->ended())
            QTRY_COMPARE_WITH_TIMEOUT(probe->messages(), count - 1, patience);
    }
    // Each waits for the first one's start too, and for its turn among all the others.
    QVERIFY2(slowest < tolerance, qPrintable(QString::number(slowest)));
    qInfo("%d starts; the slowest acknowledgement took %d ms", count, slowest);
}

void QtSingleApplicationTest::nextTakesOverAfterKill()
{
    QElapsedTimer clock;
    clock.start();
    const Probe killed = startFirst();
    const qint64 usual = clock.elapsed();
    expectAcknowledged();

    killed->kill();
    clock.start();
    const Probe next = startFirst();
    QVERIFY2(clock.elapsed() < usual + tolerance, qPrintable(QString::number(clock.elapsed())));
    expectAcknowledged();
}

void QtSingleApplicationTest::stoppedFirstIsNotWaitedForLonger()
{
    const Probe first = startFirst();
    first->suspend();
    const Probe later = start({QStringLiteral("--timeout"), QStringLiteral("300")});
    QTRY_VERIFY_WITH_TIMEOUT(later->ended(), patience);
    QVERIFY(later->printed(QStringLiteral("refused")));
    QCOMPARE(later->exitCode(), 1);
    QVERIFY2(later->sendingTime() >= 300, qPrintable(QString::number(later->sendingTime())));
    // Less than the five seconds of a sender that names no time.
    QVERIFY2(later->sendingTime() < 4500, qPrintable(QString::number(later->sendingTime())));

    first->resume();
    expectAcknowledged();
}

// The process that would have answered is killed while the later one waits for it.
void QtSingleApplicationTest::deadFirstIsNotWaitedFor()
{
    const Probe first = startFirst();
    first->suspend();
    const Probe later = start({QStringLiteral("--timeout"), QString::number(patience)});
    QTRY_VERIFY_WITH_TIMEOUT(later->printed(QStringLiteral("running")), patience);
    first->kill();
    QElapsedTimer clock;
    clock.start();
    QTRY_VERIFY_WITH_TIMEOUT(later->ended(), patience);
    QVERIFY(later->printed(QStringLiteral("refused")));
    QVERIFY2(clock.elapsed() < tolerance, qPrintable(QString::number(clock.elapsed())));
}

void QtSingleApplicationTest::programsAreApart()
{
    // On Windows two of them are the same, where a file is not copied over another.
    for (const QString &folder : {QStringLiteral("a"), QStringLiteral("A"), QStringLiteral("b")}) {
        QVERIFY(QDir(m_runtime->path()).mkpath(folder));
        QVERIFY(QFile::exists(copyIn(folder)) || QFile::copy(ProbeProcess::program(), copyIn(folder)));
    }
    const Probe original = startFirst();
    const Probe copy = startFirst(copyIn(QStringLiteral("a")));
    const Probe otherCopy = startFirst(copyIn(QStringLiteral("b")));

    expectAcknowledged({}, copyIn(QStringLiteral("A")));
    QTRY_COMPARE_WITH_TIMEOUT(copy->messages(), 1, patience);
    QCOMPARE(original->messages(), 0);
    QCOMPARE(otherCopy->messages(), 0);
}

void QtSingleApplicationTest::endsWithOpenConnections()
{
    const Probe first = startFirst();
    Senders senders;
    const QByteArray frame = messageframe::fromText(QStringLiteral("hello"));
    for (qsizetype size = 0; size < frame.size(); ++size) {
        senders.push_back(makeSender(probeChannel().serverName));
        senders.back()->write(frame.left(size));
    }
    expectAcknowledged({QStringLiteral("--message"), QStringLiteral("quit")});
    QTRY_VERIFY_WITH_TIMEOUT(first->ended(), patience);
    QCOMPARE(first->exitCode(), 0);
    QCOMPARE(first->errors(), QString());

    const Probe next = startFirst();
    expectAcknowledged();
}

int main(int argc, char *argv[])
{
    // Of its own: the test counts what lies there.
    const QTemporaryDir runtime(ProbeFixture::temporaryFolder());
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));

    // Looking for a session bus where there is none makes libdbus start a process and lose memory.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");

    QtSingleApplication application(applicationName, argc, argv);
    QtSingleApplicationTest test(application);
    return QTest::qExec(&test, argc, argv);
}

#include "qtsingleapplication_test.moc"
