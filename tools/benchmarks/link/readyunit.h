#pragma once

#include "usctl.h"
#include "usplatform.h"

/**
 * A unit that is always ready and answers at once, behind the platform seam: what is measured with it is the link.
 *
 * It grants 64 KiB of a firmware image at a time and takes every block. One per process.
 */
namespace readyunit {

/// The platform, for usplatform_use().
extern const usplatform_t platform;

/// A device of it.
usdev_t device();

/// Transfers so far.
uint64_t transfers();

} // namespace readyunit
