#include "qtsingleapplication.h"

#include "logonsession.h"
#include "messageclient.h"
#include "messageserver.h"
#include "singleinstanceid.h"

namespace {

void warn(const QString &text)
{
    qWarning("QtSingleApplication: %s", qUtf8Printable(text));
}

} // namespace

QtSingleApplication::QtSingleApplication(int &argc, char **argv, bool)
    : QApplication(argc, argv)
    , m_id(singleInstanceId(applicationFilePath(), logonSession()))
    , m_channel(instanceChannel(m_id))
    , m_lock(m_channel.lockName)
{
}

// The name may be any text, so files and pipes are named after its hash.
QtSingleApplication::QtSingleApplication(const QString &appId, int &argc, char **argv)
    : QApplication(argc, argv)
    , m_id(appId)
    , m_channel(instanceChannel(singleInstanceId(appId, logonSession())))
    , m_lock(m_channel.lockName)
{
}

QtSingleApplication::~QtSingleApplication() = default;

bool QtSingleApplication::isRunning()
{
    if (m_role != Role::Undecided)
        return false;
    if (m_channel.lockName.isEmpty()) {
        standAlone(m_channel.errorText);
        return false;
    }

    const InstanceLock::Result result = m_lock.tryLock();
    if (result == InstanceLock::Result::Failed)
        standAlone(m_lock.errorText());
    else if (result == InstanceLock::Result::Locked)
        listen();
    return result == InstanceLock::Result::HeldByOther;
}

void QtSingleApplication::listen()
{
    m_role = Role::First;
    m_server = std::make_unique<MessageServer>(MessageServer::Limits());
    connect(m_server.get(), &MessageServer::messageReceived, this, &QtSingleApplication::messageReceived);
    if (!m_server->listen(m_channel.serverName))
        warn(QStringLiteral("cannot listen for later starts: ") + m_server->errorText());
}

void QtSingleApplication::standAlone(const QString &reason)
{
    m_role = Role::Alone;
    warn(QStringLiteral("cannot tell whether it runs already: ") + reason);
}

bool QtSingleApplication::sendMessage(const QString &message, int timeout)
{
    if (m_role != Role::Undecided || m_channel.serverName.isEmpty())
        return false;
    return deliverMessage(m_channel.serverName, message, timeout, [this] { return m_lock.isFree(); });
}

void QtSingleApplication::setActivationWindow(QWidget *aw, bool activateOnMessage)
{
    m_activationWindow = aw;
    if (activateOnMessage)
        connect(this, &QtSingleApplication::messageReceived, this, &QtSingleApplication::activateWindow,
                Qt::UniqueConnection);
    else
        disconnect(this, &QtSingleApplication::messageReceived, this, &QtSingleApplication::activateWindow);
}

void QtSingleApplication::activateWindow()
{
    if (!m_activationWindow)
        return;
    m_activationWindow->setWindowState(m_activationWindow->windowState() & ~Qt::WindowMinimized);
    m_activationWindow->raise();
    m_activationWindow->activateWindow();
}
