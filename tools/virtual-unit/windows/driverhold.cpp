#include "driverhold.h"

// The system's queues that can be called off (csq.h) would do the same with less; Wine 8 has none.

namespace {

/// Holds the system's cancel lock for as long as it lives.
class CancelLock
{
public:
    CancelLock() { IoAcquireCancelSpinLock(&m_level); }
    ~CancelLock() { IoReleaseCancelSpinLock(m_level); }
    CancelLock(const CancelLock &) = delete;
    CancelLock &operator=(const CancelLock &) = delete;

private:
    KIRQL m_level = 0;
};

/// The system calls it under its cancel lock when the caller of a waiting transfer does not want it any more.
void NTAPI call_off(DEVICE_OBJECT *object, IRP *irp)
{
    driver_device_t *const device = driver_device_of(object);
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    ++device->called_off;
    IoReleaseCancelSpinLock(irp->CancelIrql);
    driver_complete(irp, STATUS_CANCELLED);
    IoReleaseRemoveLock(&device->removal, irp);
}

} // namespace

bool driverhold_add(driver_device_t *device, IRP *irp)
{
    const CancelLock lock;
    if (irp->Cancel)
        return false;
    IoMarkIrpPending(irp);
    IoSetCancelRoutine(irp, call_off);
    InsertTailList(&device->held, &irp->Tail.Overlay.ListEntry);
    return true;
}

IRP *driverhold_take(driver_device_t *device)
{
    const CancelLock lock;
    if (IsListEmpty(&device->held))
        return nullptr;
    LIST_ENTRY *const entry = RemoveHeadList(&device->held);
    IRP *const irp = CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
    IoSetCancelRoutine(irp, nullptr);
    return irp;
}

void driverhold_tell(driver_device_t *device, unitcontrol_state_t *state)
{
    const CancelLock lock;
    state->called_off = device->called_off;
    state->held = 0;
    for (const LIST_ENTRY *entry = device->held.Flink; entry != &device->held; entry = entry->Flink)
        ++state->held;
}
