#pragma once

#include "driverdevice.h"

/// Transfers that wait in the driver, as those do that a slow unit has not answered: their caller may call them off.

/**
 * Lets a transfer wait. Under the unit's lock.
 *
 * @return false when it was called off before it could, and the caller goes on with it; true means STATUS_PENDING
 */
bool driverhold_add(driver_device_t *device, IRP *irp);

/// Takes the oldest transfer that waits, which can then no longer be called off; null when none waits.
IRP *driverhold_take(driver_device_t *device);

/// Tells how many wait and how many were called off.
void driverhold_tell(driver_device_t *device, unitcontrol_state_t *state);
