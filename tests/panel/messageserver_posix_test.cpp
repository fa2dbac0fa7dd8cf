// The server where channels are files.

#include "deaflistener.h"
#include "messageframe.h"
#include "messageserver.h"

#include <QFile>
#include <QLocalSocket>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/resource.h>
#include <unistd.h>

namespace {

// No test waits that long when it passes.
constexpr int patience = 30000;

const QByteArray acknowledgement(messageframe::acknowledgement);

// Lowers the number of files this process may open.
class FileLimit
{
public:
    explicit FileLimit(rlim_t limit)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit lowered = {limit, m_before.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &lowered);
    }

    ~FileLimit() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

    Q_DISABLE_COPY_MOVE(FileLimit)

private:
    rlimit m_before = {};
};

} // namespace

class MessageServerPosixTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void takesThePlaceOfDeadServers_data();
    void takesThePlaceOfDeadServers();
    void recoversFromTooManyOpenFiles_data();
    void recoversFromTooManyOpenFiles();
    void reportsThatItCannotListen();

private:
    void start();
    void expectService();

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_serverName;
    std::unique_ptr<MessageServer> m_server;
};

void MessageServerPosixTest::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    m_folder = std::make_unique<QTemporaryDir>(QStringLiteral("/tmp/kdmxt-XXXXXX"));
    QVERIFY(m_folder->isValid());
    m_serverName = m_folder->filePath(QStringLiteral("test.socket"));
}

void MessageServerPosixTest::cleanup()
{
    m_server.reset();
    QVERIFY(!QFile::exists(m_serverName));
}

void MessageServerPosixTest::start()
{
    m_server = std::make_unique<MessageServer>(MessageServer::Limits());
    QVERIFY(m_server->listen(m_serverName));
}

void MessageServerPosixTest::expectService()
{
    const QSignalSpy spy(m_server.get(), &MessageServer::messageReceived);
    QLocalSocket socket;
    socket.connectToServer(m_serverName);
    socket.write(messageframe::fromText(QStringLiteral("hello")));
    QTRY_COMPARE_WITH_TIMEOUT(socket.bytesAvailable(), acknowledgement.size(), patience);
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 1, patience);
}

void MessageServerPosixTest::takesThePlaceOfDeadServers_data()
{
    QTest::addColumn<bool>("isSocket");

    QTest::newRow("socket of a dead process") << true;
    QTest::newRow("ordinary file") << false;
}

void MessageServerPosixTest::takesThePlaceOfDeadServers()
{
    QFETCH(bool, isSocket);
    if (isSocket) {
        QVERIFY(DeafListener(m_serverName, 1).listens());
    } else {
        QFile file(m_serverName);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QVERIFY(QFile::exists(m_serverName));
    start();
    expectService();
}

void MessageServerPosixTest::recoversFromTooManyOpenFiles_data()
{
    QTest::addColumn<bool>("lastsLonger");

    QTest::newRow("for a moment") << false;
    QTest::newRow("still too many at the next attempt") << true;
}

void MessageServerPosixTest::recoversFromTooManyOpenFiles()
{
    QFETCH(bool, lastsLonger);
    start();
    expectService();
    const auto socket = std::make_unique<QLocalSocket>();
    {
        // The sender needs one more file; none is left to accept its connection.
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        const FileLimit limit(static_cast<rlim_t>(next) + 1);
        socket->connectToServer(m_serverName);
        QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(m_serverName), patience);
        if (lastsLonger) {
            // Nor for the files that the listener and the sender had. Then it says that it cannot listen, and no longer
            // that it could not accept.
            const FileLimit none(STDERR_FILENO + 1);
            QTRY_VERIFY_WITH_TIMEOUT(m_server->errorText().contains(QStringLiteral("::listen")), patience);
        }
    }
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_serverName), patience);
    expectService();
}

void MessageServerPosixTest::reportsThatItCannotListen()
{
    MessageServer server{MessageServer::Limits()};
    const QString folder = m_folder->filePath(QStringLiteral("missing"));
    const QString socket = folder + QStringLiteral("/test.socket");
    QVERIFY(!server.listen(socket));
    QVERIFY(!server.errorText().isEmpty());
    // And goes on trying.
    QVERIFY(QDir().mkdir(folder));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(socket), patience);
}

QTEST_GUILESS_MAIN(MessageServerPosixTest)

#include "messageserver_posix_test.moc"
