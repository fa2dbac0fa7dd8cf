#pragma once

#include <QObject>

#include <atomic>
#include <functional>

/**
 * Has functions called in the thread that it lives in.
 *
 * Qt's own hand-over would do, but ThreadSanitizer does not see the locks in a Qt that was not built for it. An atomic
 * it sees.
 */
class ThreadCourier : public QObject
{
    Q_OBJECT

public:
    /// Has a function called and waits for it. Not from the courier's own thread.
    void carry(const std::function<void()> &function);

private Q_SLOTS:
    void run();

private:
    std::atomic<const std::function<void()> *> m_function = nullptr; // null once it has been called
};
