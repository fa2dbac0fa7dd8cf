#pragma once

#include "instancechannel.h"
#include "instancelock.h"

#include <QApplication>
#include <QPointer>
#include <QWidget>

#include <memory>

class MessageServer;

/**
 * An application of which one process runs for each executable file and logon session: later starts hand a message to
 * the first one and end.
 *
 * \code
 * QtSingleApplication application(argc, argv);
 * if (application.isRunning())
 *     return application.sendMessage(QStringLiteral("show")) ? 0 : 1;
 * \endcode
 *
 * The first process keeps a lock that the kernel frees when the process dies, and listens in its event loop. Faults
 * of the channel itself are reported with qWarning(), as texts that begin with "QtSingleApplication: ".
 *
 * Use it in the main thread only. Rests on QApplication, InstanceLock, MessageServer and deliverMessage().
 */
class QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    /**
     * Starts the application; processes of the same executable file in the same logon session belong together.
     *
     * @param argc  number of arguments; must live as long as the object
     * @param argv  the arguments; must live as long as the object
     * @param GUIenabled  without effect: a QApplication always has a user interface
     */
    QtSingleApplication(int &argc, char **argv, bool GUIenabled = true);

    /**
     * Starts the application; processes with the same name in the same logon session belong together.
     *
     * @param appId  the name, any text; case does not matter
     * @param argc  number of arguments; must live as long as the object
     * @param argv  the arguments; must live as long as the object
     */
    QtSingleApplication(const QString &appId, int &argc, char **argv);

    /// Ends all connections, then gives the lock back.
    ~QtSingleApplication() override;

    /**
     * Tells whether another process is the first one.
     *
     * The first call that gets the lock makes this process the first one, until the object goes: it listens from
     * then on. When the channel cannot be made the answer is false too: a second window is better than none.
     *
     * @return true when another process of the same id holds the lock
     *
     * Blocks for a few file operations; on Windows for 50 ms where another process is the first one, elsewhere in rare
     * cases for 0.1 s.
     */
    bool isRunning();

    /// The name given to the constructor, or the one made from executable file and logon session.
    QString id() const { return m_id; }

    /// The window that activateWindow() brings to the front; null when there is none or it was deleted.
    QWidget *activationWindow() const { return m_activationWindow; }

    /**
     * Remembers the window that activateWindow() brings to the front.
     *
     * @param aw  the window, or null; stays with its owner and may be deleted at any time
     * @param activateOnMessage  whether each message calls activateWindow(); false ends that
     */
    void setActivationWindow(QWidget *aw, bool activateOnMessage = true);

public Q_SLOTS:
    /**
     * Delivers a text to the first process and waits for its acknowledgement.
     *
     * The acknowledgement says that the text has arrived, not that anybody has acted on it. After a failure the first
     * process may be gone: another isRunning() then makes this one the first.
     *
     * @param message  at most 64 KiB of UTF-8; may be empty
     * @param timeout  in milliseconds; zero or less does not wait
     * @return true once acknowledged; false when the time is over, and at once when there is no first process, when
     *         this process is the first, when the message is too long or when there is no channel
     *
     * Blocks for at most the time-out; no events are processed meanwhile.
     */
    bool sendMessage(const QString &message, int timeout = 5000);

    /**
     * Shows the remembered window: not minimised, above the others, with the input focus.
     *
     * The window system may refuse the focus. Nothing happens without a window.
     */
    void activateWindow();

Q_SIGNALS:
    /// A message of a later process has arrived; emitted in the event loop of the first one.
    void messageReceived(const QString &message);

private:
    enum class Role {
        Undecided, ///< another process is the first one, or nobody has asked yet
        First, ///< holds the lock and listens
        Alone ///< there is no usable channel
    };

    void listen();
    void standAlone(const QString &reason);

    QString m_id;
    InstanceChannel m_channel;
    InstanceLock m_lock;
    // After the lock, so it is destroyed first: it removes its socket, which must not be another process's by then.
    std::unique_ptr<MessageServer> m_server;
    QPointer<QWidget> m_activationWindow;
    Role m_role = Role::Undecided;
};
