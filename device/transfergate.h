#pragma once

#include "uswatch.h"

#include <atomic>

/**
 * Once closed, lets no further transfer begin, so that a thread in the device link comes back soon.
 *
 * Works at the platform seam, for every transfer of the process. Make it before the thread that enters the link is
 * started, and destroy it after that thread has ended.
 */
class TransferGate
{
public:
    TransferGate();
    ~TransferGate();
    TransferGate(const TransferGate &) = delete;
    TransferGate &operator=(const TransferGate &) = delete;

    /// Refuses further transfers and pauses. Any thread.
    void close();

    /// Calls off the transfer in flight where the system can; one that is just beginning may be missed. Any thread.
    void cancel();

    /**
     * Holds a thread that comes back from its transfer after all: it must not touch what the process has taken down
     * in the meantime. The gate must then live as long as the process. Any thread.
     */
    void abandon();

private:
    static void moved(void *gate, const uswatch_transfer_t *transfer);
    static uint32_t refuses(void *gate);

    std::atomic<bool> m_closed = false;
    std::atomic<bool> m_abandoned = false;
    uswatch_t m_watch = {this, moved, refuses};
};
