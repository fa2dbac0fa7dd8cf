#pragma once

#include "driverdevice.h"

/// The I/O controls of a unit: transfers, and what unitcontrol.h adds. Dispatch routine of the driver.
NTSTATUS NTAPI drivercontrol_dispatch(DEVICE_OBJECT *object, IRP *irp);

/// Fails transfers that wait and every later one: the unit is pulled out for good. Any number of times.
void drivercontrol_end(driver_device_t *device);
