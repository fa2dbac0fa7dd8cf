#pragma once

#include <QString>

#include <memory>

/**
 * A lock between processes that the kernel frees by itself when its holder dies, however it dies.
 *
 * What the lock is made of: on Windows a named mutex, elsewhere an advisory lock on a file. The file is never
 * deleted (two processes could then lock two different files of the same name) and its content means nothing.
 *
 * Use an object from one thread only: Windows gives a mutex to the thread, not to the process. The object owns the
 * lock and gives it back when it goes. Rests on CreateMutexW or flock(2).
 */
class InstanceLock
{
public:
    /// What comes of an attempt.
    enum class Result {
        Locked, ///< this object holds the lock now
        HeldByOther, ///< another process holds it
        Failed ///< the lock cannot be made; errorText() says why
    };

    /**
     * Names the lock; nothing is opened yet.
     *
     * @param name  InstanceChannel::lockName; an empty one makes tryLock() fail
     */
    explicit InstanceLock(const QString &name);

    ~InstanceLock();

    Q_DISABLE_COPY_MOVE(InstanceLock)

    /**
     * Takes the lock if it is free.
     *
     * A process that merely asks isFree() is not taken for a holder.
     *
     * @return see Result; Locked as well when this object held the lock already
     *
     * Returns at once. Where the lock is held: on Windows after 50 ms, and elsewhere after about 0.1 s if others are
     * asking isFree() at the same moment.
     */
    Result tryLock();

    /**
     * Tells whether nobody holds the lock, without taking it.
     *
     * The answer is about the past: another process may have taken the lock since.
     *
     * @return true when the lock is free or was never made; false when somebody (this object included) holds it or
     *         when it cannot be opened
     *
     * Does not block.
     */
    bool isFree() const;

    /// Why the last tryLock() failed, for a warning; empty otherwise.
    QString errorText() const { return m_errorText; }

private:
    struct Handle;

    QString m_name;
    QString m_errorText;
    std::unique_ptr<Handle> m_handle;
};
