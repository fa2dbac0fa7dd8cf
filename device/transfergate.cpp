#include "transfergate.h"

#include <QtGlobal>

TransferGate::TransferGate()
{
    // Without a free watch slot the gate could not close; other users must leave one.
    [[maybe_unused]] const int failed = uswatch_add(&m_watch);
    Q_ASSERT(failed == 0);
}

TransferGate::~TransferGate()
{
    uswatch_remove(&m_watch);
}

void TransferGate::close()
{
    m_closed.store(true);
}

void TransferGate::cancel()
{
    const usplatform_t *const platform = usplatform();
    if (platform->cancel != nullptr)
        platform->cancel();
}

void TransferGate::abandon()
{
    m_abandoned.store(true);
}

void TransferGate::moved(void *gate, const uswatch_transfer_t *)
{
    const auto *const self = static_cast<const TransferGate *>(gate);
    while (self->m_abandoned.load())
        usplatform_unwatched()->sleep(1000);
}

uint32_t TransferGate::refuses(void *gate)
{
    return static_cast<const TransferGate *>(gate)->m_closed.load() ? uint32_t{USPLATFORM_ERROR_CANCELLED} : 0;
}
