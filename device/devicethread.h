#pragma once

#include <QThread>

#include <atomic>

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
    explicit DeviceThread(QObject *parent = nullptr);

    /**
     * Ends the thread also when there never was an application object. Call it after quit(); any thread.
     */
    void release();

protected:
    void run() override;

private:
    std::atomic<bool> m_released = false;
};
