#pragma once

#include <QDeadlineTimer>
#include <QThread>

/**
 * The thread of the device worker. Its event loop starts when the application object exists, however early the thread
 * itself was started: until then nothing posted to it is lost.
 *
 * Qt drops whatever an event loop handles while there is no application object, for good.
 */
class DeviceThread : public QThread
{
    Q_OBJECT

public:
    /// Starts nothing yet. @param parent  owner, or null
    explicit DeviceThread(QObject *parent = nullptr);

    /**
     * Ends the thread also when there never was an application object. Call it after quit(); any thread.
     */
    void release();

    /**
     * Waits for the thread to end.
     *
     * @return whether it has; from then on everything that it did is visible to the caller
     */
    bool waitForEnd(QDeadlineTimer deadline);

protected:
    /// Waits for the application object, or for release(), then runs the event loop.
    void run() override;

private:
    bool m_isReleased = false; // under the lock of what the threads wait for
};
