#include "drivercontrol.h"

#include "driverhold.h"
#include "driverrequest.h"

namespace {

/// What comes of an I/O control.
struct outcome_t
{
    NTSTATUS status;
    ULONG_PTR information = 0;
};

/// The buffer that an I/O control comes in and goes out with, and its sizes.
struct buffer_t
{
    uint8_t *bytes;
    uint32_t in_length;
    uint32_t out_length;
};

buffer_t buffer_of(IRP *irp)
{
    const auto &parameters = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl;
    return {static_cast<uint8_t *>(irp->AssociatedIrp.SystemBuffer), parameters.InputBufferLength,
            parameters.OutputBufferLength};
}

/// The error codes that programs get for these are 31, 5 and 1167.
NTSTATUS status_of(virtualunit_result_t result)
{
    switch (result) {
    case VIRTUALUNIT_OK:
        return STATUS_SUCCESS;
    case VIRTUALUNIT_STALLED:
    case VIRTUALUNIT_LATE:
        return STATUS_UNSUCCESSFUL;
    case VIRTUALUNIT_FAILED:
        return STATUS_ACCESS_DENIED;
    case VIRTUALUNIT_GONE:
        break;
    }
    return STATUS_DEVICE_NOT_CONNECTED;
}

/// Carries a transfer out; under the lock.
outcome_t transfer(driver_device_t *device, const buffer_t &buffer)
{
    virtualunit_t *const unit = &device->state.unit;
    const auto request = driverrequest::parse(buffer.bytes, buffer.in_length, buffer.out_length);
    if (request.kind == driverrequest::Kind::Invalid)
        return {STATUS_INVALID_PARAMETER};
    if (device->is_removed)
        return {STATUS_DEVICE_NOT_CONNECTED};
    if (virtualunit_is_plugged(unit) == 0) {
        virtualunit_skip(unit);
        return {STATUS_DEVICE_NOT_CONNECTED};
    }
    if (request.kind == driverrequest::Kind::Write)
        return {status_of(virtualunit_write(unit, request.data, request.length))};
    uint32_t length = 0;
    const NTSTATUS status = status_of(virtualunit_read(unit, buffer.bytes, &length));
    return {status, length};
}

outcome_t get_state(driver_device_t *device, const buffer_t &buffer)
{
    if (buffer.out_length != sizeof(unitcontrol_state_t))
        return {STATUS_INFO_LENGTH_MISMATCH};
    driverhold_tell(device, &device->state);
    RtlCopyMemory(buffer.bytes, &device->state, sizeof(device->state));
    return {STATUS_SUCCESS, sizeof(device->state)};
}

outcome_t set_unit(driver_device_t *device, const buffer_t &buffer)
{
    if (buffer.in_length != sizeof(virtualunit_t))
        return {STATUS_INFO_LENGTH_MISMATCH};
    RtlCopyMemory(&device->state.unit, buffer.bytes, sizeof(virtualunit_t));
    return {STATUS_SUCCESS};
}

outcome_t set_hold(driver_device_t *device, const buffer_t &buffer)
{
    if (buffer.in_length != sizeof(uint32_t))
        return {STATUS_INFO_LENGTH_MISMATCH};
    RtlCopyMemory(&device->state.is_holding, buffer.bytes, sizeof(uint32_t));
    return {STATUS_SUCCESS};
}

outcome_t carry_out(driver_device_t *device, ULONG code, const buffer_t &buffer)
{
    switch (code) {
    case UNITCONTROL_GET_STATE:
        return get_state(device, buffer);
    case UNITCONTROL_SET_UNIT:
        return set_unit(device, buffer);
    case UNITCONTROL_HOLD:
        return set_hold(device, buffer);
    default:
        return {STATUS_INVALID_DEVICE_REQUEST};
    }
}

NTSTATUS finish(driver_device_t *device, IRP *irp, const outcome_t &outcome)
{
    const NTSTATUS status = driver_complete(irp, outcome.status, outcome.information);
    IoReleaseRemoveLock(&device->removal, irp);
    return status;
}

/// A transfer, unless transfers are held.
NTSTATUS transfer_or_hold(driver_device_t *device, IRP *irp)
{
    outcome_t outcome;
    {
        const DriverLock lock(device);
        // Under the lock, so that no transfer starts to wait after the waiting ones were let go.
        if (device->state.is_holding != 0 && driverhold_add(device, irp))
            return STATUS_PENDING;
        outcome = transfer(device, buffer_of(irp));
    }
    return finish(device, irp, outcome);
}

void let_go(driver_device_t *device)
{
    while (IRP *const irp = driverhold_take(device)) {
        outcome_t outcome;
        {
            const DriverLock lock(device);
            outcome = transfer(device, buffer_of(irp));
        }
        finish(device, irp, outcome);
    }
}

} // namespace

NTSTATUS NTAPI drivercontrol_dispatch(DEVICE_OBJECT *object, IRP *irp)
{
    // The one code of the real driver: unknown device type, first function of vendors, buffered, any access.
    constexpr ULONG transfer_code = CTL_CODE(0x22, 0x800, 0, 0);
    driver_device_t *const device = driver_device_of(object);
    const NTSTATUS acquired = IoAcquireRemoveLock(&device->removal, irp);
    if (!NT_SUCCESS(acquired))
        return driver_complete(irp, acquired);

    const ULONG code = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl.IoControlCode;
    if (code == transfer_code)
        return transfer_or_hold(device, irp);
    outcome_t outcome;
    bool is_holding = false;
    {
        const DriverLock lock(device);
        outcome = carry_out(device, code, buffer_of(irp));
        is_holding = device->state.is_holding != 0;
    }
    if (!is_holding)
        let_go(device);
    return finish(device, irp, outcome);
}

void drivercontrol_end(driver_device_t *device)
{
    {
        const DriverLock lock(device);
        device->is_removed = true;
        device->state.is_holding = 0;
    }
    let_go(device);
}
