#pragma once

#include <QDeadlineTimer>
#include <QThread>

#include <mutex>

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
     * Keeps all device threads from ending, and the workers on them from being deleted, for as long as the result
     * lives.
     *
     * Hold it while emitting a worker's signal from another thread: until the last slot returns, Qt uses the worker and
     * its thread's event dispatcher, even if they are deleted meanwhile. Any thread. Hold it briefly; of this class,
     * call only quit() meanwhile.
     */
    [[nodiscard]] static std::unique_lock<std::mutex> hold();

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
