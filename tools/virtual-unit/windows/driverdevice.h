#pragma once

#include "unitcontrol.h"

#include <ntddk.h>

/// One unit, in the extension of its device object.
struct driver_device_t
{
    DEVICE_OBJECT *self;
    DEVICE_OBJECT *physical; ///< the bus's object for the same device
    DEVICE_OBJECT *below; ///< the next one down the stack
    UNICODE_STRING interface_link; ///< of the system; empty while there is none
    IO_REMOVE_LOCK removal; ///< held by each request in flight

    FAST_MUTEX lock; ///< for what follows
    unitcontrol_state_t state;
    bool is_removed;

    // Guarded by the system's cancel lock.
    LIST_ENTRY held; ///< transfers that wait, the oldest first
    uint32_t called_off;
};

/// The unit of a device object of this driver.
inline driver_device_t *driver_device_of(DEVICE_OBJECT *object)
{
    return static_cast<driver_device_t *>(object->DeviceExtension);
}

/// Holds the lock of a unit for as long as it lives.
class DriverLock
{
public:
    explicit DriverLock(driver_device_t *device)
        : m_lock(&device->lock)
    {
        ExAcquireFastMutex(m_lock);
    }

    ~DriverLock() { ExReleaseFastMutex(m_lock); }
    DriverLock(const DriverLock &) = delete;
    DriverLock &operator=(const DriverLock &) = delete;

private:
    FAST_MUTEX *m_lock;
};

/// Ends a request of this driver; `information` is the number of bytes for the caller. The status.
inline NTSTATUS driver_complete(IRP *irp, NTSTATUS status, ULONG_PTR information = 0)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = information;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}
