// The application where channels are files.

#include "instancechannel.h"
#include "probefixture.h"
#include "qtsingleapplication.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// More than a start on a busy machine takes, and less than the half minute that a dead lock of Qt's would cost.
constexpr int tolerance = 15000;

// How the application's own warnings begin.
const QString warningPrefix = QStringLiteral("QtSingleApplication: ");

const QString applicationName = QStringLiteral("QtSingleApplicationPosixTest");

mode_t permissions(const QString &path)
{
    struct stat info = {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 0777 : 0;
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

// What a process leaves behind that was killed while it listened.
void makeStaleSocket(const QString &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(path);
    qstrncpy(address.sun_path, name.constData(), sizeof(address.sun_path));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int bound = ::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
    ::close(socket);
    QCOMPARE(bound, 0);
}

} // namespace

class QtSingleApplicationPosixTest : public ProbeFixture
{
    Q_OBJECT

public:
    using ProbeFixture::ProbeFixture;

private Q_SLOTS:
    void keepsItsFilesPrivate();
    void leavesNoSocket();
    void oldFilesDelayNothing_data();
    void oldFilesDelayNothing();
    void opensWithoutChannel();
    void otherUsersStayOut();

private:
    QString probeFile(const QString &ending) const;
};

QString QtSingleApplicationPosixTest::probeFile(const QString &ending) const
{
    return m_runtime->filePath(idOf(ProbeProcess::program()) + ending);
}

void QtSingleApplicationPosixTest::keepsItsFilesPrivate()
{
    QVERIFY(!m_application.isRunning());
    const InstanceChannel channel = instanceChannel(idOf(applicationName));
    QCOMPARE(QFileInfo(channel.serverName).path(), m_ownRuntime);
    QCOMPARE(permissions(m_ownRuntime), 0700U);
    QCOMPARE(permissions(channel.lockName), 0600U);
    QCOMPARE(permissions(channel.serverName), 0700U);

    const QStringList expected = {QFileInfo(channel.lockName).fileName(), QFileInfo(channel.serverName).fileName()};
    const QDir::Filters everything = QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
    QCOMPARE(QDir(m_ownRuntime).entryList(everything, QDir::Name), expected);
}

void QtSingleApplicationPosixTest::leavesNoSocket()
{
    const Probe first = startFirst();
    QVERIFY(QFile::exists(probeFile(QStringLiteral(".socket"))));
    const Probe later = start({QStringLiteral("--message"), QStringLiteral("quit")});
    QTRY_VERIFY_WITH_TIMEOUT(first->ended(), patience);
    QCOMPARE(first->exitCode(), 0);
    QVERIFY(!QFile::exists(probeFile(QStringLiteral(".socket"))));
}

void QtSingleApplicationPosixTest::oldFilesDelayNothing_data()
{
    QTest::addColumn<QByteArray>("lock");
    QTest::addColumn<bool>("staleSocket");

    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("lock of a dead process") << QByteArray("4194303\n") << true;
    QTest::newRow("empty lock") << QByteArray("") << true;
    QTest::newRow("garbage") << QByteArray(10000, '\xa5') << false;
}

void QtSingleApplicationPosixTest::oldFilesDelayNothing()
{
    QFETCH(QByteArray, lock);
    QFETCH(bool, staleSocket);
    if (!lock.isNull())
        writeFile(probeFile(QStringLiteral(".lock")), lock);
    if (staleSocket)
        makeStaleSocket(probeFile(QStringLiteral(".socket")));
    else if (!lock.isNull())
        writeFile(probeFile(QStringLiteral(".socket")), lock);

    const Probe first = startFirst();
    const Probe later = start();
    QTRY_VERIFY_WITH_TIMEOUT(later->ended(), patience);
    QVERIFY(later->printed(QStringLiteral("acknowledged")));
    QVERIFY2(later->sendingTime() < tolerance, qPrintable(QString::number(later->sendingTime())));
    QCOMPARE(first->errors(), QString());
}

// A lock that cannot be made: the probe says so and opens all the same.
void QtSingleApplicationPosixTest::opensWithoutChannel()
{
    QVERIFY(QDir(m_runtime->path()).mkdir(QFileInfo(probeFile(QStringLiteral(".lock"))).fileName()));
    const Probe probe = startFirst();
    QTRY_VERIFY_WITH_TIMEOUT(probe->errors().startsWith(warningPrefix), patience);
    QCOMPARE(probe->errors().count(u'\n'), 1);
}

void QtSingleApplicationPosixTest::otherUsersStayOut()
{
    const QString setpriv = QStringLiteral("/usr/bin/setpriv");
    if (::geteuid() != 0 || !QFileInfo(setpriv).isExecutable())
        QSKIP("Only root can start a process of another user, with /usr/bin/setpriv.");

    // The other user gets a program and a folder for temporary files that he can reach; the runtime folder stays
    // closed.
    QTemporaryDir open(QStringLiteral("/tmp/kdmxt-XXXXXX"));
    const QByteArray openPath = QFile::encodeName(open.path());
    QCOMPARE(::chmod(openPath.constData(), 01777), 0);
    const QString program = open.filePath(QStringLiteral("probe"));
    QVERIFY(QFile::copy(ProbeProcess::program(), program));
    QCOMPARE(::chmod(QFile::encodeName(program).constData(), 0755), 0);

    const QStringList asOther = {QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                                 QStringLiteral("--clear-groups"), QStringLiteral("/usr/bin/env"),
                                 // Names a file that he may not be able to read.
                                 QStringLiteral("--unset=LSAN_OPTIONS"), QStringLiteral("TMPDIR=") + open.path(),
                                 QStringLiteral("HOME=") + open.path(), program};
    const Probe first = startFirst(program);
    const QString socket = m_runtime->filePath(idOf(program) + QStringLiteral(".socket"));
    QVERIFY(QFile::exists(socket));

    const Probe intruder = start(asOther + QStringList{QStringLiteral("--connect"), socket}, setpriv);
    QTRY_VERIFY_WITH_TIMEOUT(intruder->ended(), patience);
    QVERIFY2(intruder->printed(QStringLiteral("refused")), qUtf8Printable(intruder->errors()));

    const Probe other = start(asOther, setpriv);
    QTRY_VERIFY_WITH_TIMEOUT(other->printed(QStringLiteral("first")), patience);
    // Qt itself may complain about the closed runtime folder.
    QVERIFY2(!other->errors().contains(warningPrefix), qUtf8Printable(other->errors()));
    QCOMPARE(first->messages(), 0);
}

int main(int argc, char *argv[])
{
    // Of its own: the test counts what lies there.
    const QTemporaryDir runtime(ProbeFixture::temporaryFolder());
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));

    // Looking for a session bus where there is none makes libdbus start a process and lose memory.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");

    QtSingleApplication application(applicationName, argc, argv);
    QtSingleApplicationPosixTest test(application);
    return QTest::qExec(&test, argc, argv);
}

#include "qtsingleapplication_posix_test.moc"
