#pragma once

#include "driverdevice.h"

/**
 * An interface with a reference string where the system does not manage one by itself.
 *
 * Wine 8 looks for the interface's key by a wrong name and gives up, and it hands no part of a path after a device's
 * name to the driver. So each path of the unit becomes an object of its own, and the mark of a present interface is set
 * here. Windows needs none of this.
 */

/// Makes the unit's paths and marks its interface as present.
NTSTATUS driverinterface_wine_show(driver_device_t *device);

/// Undoes it, as far as it was done.
void driverinterface_wine_hide(driver_device_t *device);
