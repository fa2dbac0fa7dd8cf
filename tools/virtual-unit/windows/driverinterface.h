#pragma once

#include "driverdevice.h"

/// The device interface by which programs find a unit. All at passive level.

/**
 * Registers the interface: of the category that real drivers use, or of another one when the device was installed for
 * that. Programs do not see it yet.
 */
NTSTATUS driverinterface_register(driver_device_t *device);

/// Lets programs see and open the unit. Calling it again does no harm.
NTSTATUS driverinterface_show(driver_device_t *device);

/// Takes the unit out of the programs' sight. Any number of times.
void driverinterface_hide(driver_device_t *device);

/// Gives up the registration, which stays with the system for the next start.
void driverinterface_release(driver_device_t *device);
