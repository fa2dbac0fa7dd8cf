// The driver of the virtual unit: what the system calls, and the life of a device.

#include "drivercontrol.h"
#include "driverinterface.h"

namespace {

// "kdmx", as tools for the kernel's memory show it.
constexpr ULONG pool_tag = 0x786D646B;

NTSTATUS pass_down(DEVICE_OBJECT *object, IRP *irp)
{
    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(driver_device_of(object)->below, irp);
}

/// Wakes the thread that passed the request down; the request is still its own.
NTSTATUS NTAPI wake(DEVICE_OBJECT *, IRP *irp, void *event)
{
    if (irp->PendingReturned)
        KeSetEvent(static_cast<KEVENT *>(event), IO_NO_INCREMENT, FALSE);
    return STATUS_MORE_PROCESSING_REQUIRED;
}

/// Passes a request down and waits until those below are done with it.
NTSTATUS let_others_go_first(driver_device_t *device, IRP *irp)
{
    KEVENT event;
    KeInitializeEvent(&event, NotificationEvent, FALSE);
    IoCopyCurrentIrpStackLocationToNext(irp);
    IoSetCompletionRoutine(irp, wake, &event, TRUE, TRUE, TRUE);
    const NTSTATUS status = IoCallDriver(device->below, irp);
    if (status != STATUS_PENDING)
        return status;
    KeWaitForSingleObject(&event, Executive, KernelMode, FALSE, nullptr);
    return irp->IoStatus.Status;
}

NTSTATUS start(driver_device_t *device, IRP *irp)
{
    const NTSTATUS status = let_others_go_first(device, irp);
    return driver_complete(irp, NT_SUCCESS(status) ? driverinterface_show(device) : status);
}

void pull_out(driver_device_t *device)
{
    driverinterface_hide(device);
    drivercontrol_end(device);
}

NTSTATUS remove(driver_device_t *device, IRP *irp)
{
    IoAcquireRemoveLock(&device->removal, irp);
    pull_out(device);
    irp->IoStatus.Status = STATUS_SUCCESS;
    const NTSTATUS status = pass_down(device->self, irp);
    IoReleaseRemoveLockAndWait(&device->removal, irp);
    driverinterface_release(device);
    IoDetachDevice(device->below);
    IoDeleteDevice(device->self);
    return status;
}

NTSTATUS NTAPI plug_and_play(DEVICE_OBJECT *object, IRP *irp)
{
    driver_device_t *const device = driver_device_of(object);
    switch (IoGetCurrentIrpStackLocation(irp)->MinorFunction) {
    case IRP_MN_START_DEVICE:
        return start(device, irp);
    case IRP_MN_SURPRISE_REMOVAL:
        pull_out(device);
        break;
    case IRP_MN_REMOVE_DEVICE:
        return remove(device, irp);
    case IRP_MN_QUERY_REMOVE_DEVICE:
    case IRP_MN_CANCEL_REMOVE_DEVICE:
    case IRP_MN_QUERY_STOP_DEVICE:
    case IRP_MN_CANCEL_STOP_DEVICE:
    case IRP_MN_STOP_DEVICE:
        break;
    default:
        return pass_down(object, irp);
    }
    irp->IoStatus.Status = STATUS_SUCCESS;
    return pass_down(object, irp);
}

NTSTATUS NTAPI power(DEVICE_OBJECT *object, IRP *irp)
{
    PoStartNextPowerIrp(irp);
    IoSkipCurrentIrpStackLocation(irp);
    return PoCallDriver(driver_device_of(object)->below, irp);
}

NTSTATUS NTAPI other(DEVICE_OBJECT *object, IRP *irp)
{
    return pass_down(object, irp);
}

NTSTATUS NTAPI create(DEVICE_OBJECT *object, IRP *irp)
{
    driver_device_t *const device = driver_device_of(object);
    {
        const DriverLock lock(device);
        ++device->state.opened;
    }
    return driver_complete(irp, STATUS_SUCCESS);
}

NTSTATUS NTAPI close(DEVICE_OBJECT *object, IRP *irp)
{
    driver_device_t *const device = driver_device_of(object);
    {
        const DriverLock lock(device);
        ++device->state.closed;
    }
    return driver_complete(irp, STATUS_SUCCESS);
}

NTSTATUS NTAPI cleanup(DEVICE_OBJECT *, IRP *irp)
{
    return driver_complete(irp, STATUS_SUCCESS);
}

/// A unit as it left the factory, on top of the bus's device.
NTSTATUS init(driver_device_t *device, DEVICE_OBJECT *self, DEVICE_OBJECT *physical)
{
    device->self = self;
    device->physical = physical;
    IoInitializeRemoveLock(&device->removal, pool_tag, 0, 0);
    ExInitializeFastMutex(&device->lock);
    InitializeListHead(&device->held);
    virtualunit_init(&device->state.unit);
    device->below = IoAttachDeviceToDeviceStack(self, physical);
    if (device->below == nullptr)
        return STATUS_NO_SUCH_DEVICE;
    const NTSTATUS status = driverinterface_register(device);
    if (!NT_SUCCESS(status))
        IoDetachDevice(device->below);
    return status;
}

NTSTATUS NTAPI add_device(DRIVER_OBJECT *driver, DEVICE_OBJECT *physical)
{
    DEVICE_OBJECT *self = nullptr;
    NTSTATUS status = IoCreateDevice(driver, sizeof(driver_device_t), nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &self);
    if (!NT_SUCCESS(status))
        return status;
    status = init(driver_device_of(self), self, physical);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(self);
        return status;
    }
    self->Flags |= DO_BUFFERED_IO | DO_POWER_PAGABLE;
    self->Flags &= ~static_cast<ULONG>(DO_DEVICE_INITIALIZING);
    return STATUS_SUCCESS;
}

// Nothing is left to do when the last device is gone; but a driver without this function is never unloaded.
void NTAPI unload(DRIVER_OBJECT *) { }

} // namespace

extern "C" NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT *driver, UNICODE_STRING *)
{
    driver->DriverExtension->AddDevice = add_device;
    driver->DriverUnload = unload;
    driver->MajorFunction[IRP_MJ_PNP] = plug_and_play;
    driver->MajorFunction[IRP_MJ_POWER] = power;
    driver->MajorFunction[IRP_MJ_SYSTEM_CONTROL] = other;
    driver->MajorFunction[IRP_MJ_CREATE] = create;
    driver->MajorFunction[IRP_MJ_CLEANUP] = cleanup;
    driver->MajorFunction[IRP_MJ_CLOSE] = close;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = drivercontrol_dispatch;
    return STATUS_SUCCESS;
}
