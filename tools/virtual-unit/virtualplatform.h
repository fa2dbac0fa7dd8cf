#pragma once

#include "usplatform.h"
#include "virtualunit.h"

/**
 * A platform of the device link with a virtual unit on it: the link's real code runs against it in any process.
 *
 * Among the devices of the platform are others than the unit: a sound card of another maker stands before it. Faults
 * come out as the error codes that a real system gives: stalled and late as USPLATFORM_ERROR_TRANSIENT, failed as
 * USPLATFORM_ERROR_IO, gone as USPLATFORM_ERROR_NOT_CONNECTED, not plugged in as USPLATFORM_ERROR_NOT_FOUND. An I/O
 * control with anything but the driver's code, header and sizes is USPLATFORM_ERROR_IO and does not reach the unit.
 *
 * The unit knows no time, only transfers. Looking for a unit that is not plugged in counts as one, so that a host
 * which only looks sees it come back too.
 */
namespace virtualplatform {

/// How the thread sleeps.
enum class Pauses {
    Real, ///< as long as asked for
    Counted, ///< not at all: pauses are only added up
};

/**
 * The platform.
 *
 * @param unit  the unit that is plugged into it; must live as long as the platform is in use; null for none
 * @return the one platform of the process, to be given to usplatform_use()
 */
const usplatform_t *with(virtualunit_t *unit, Pauses pauses);

/**
 * Lets opening the unit fail with this error (USPLATFORM_ERROR_ACCESS_DENIED, for example), until with() is called
 * again; 0 lets it succeed.
 */
void deny_access(uint32_t error);

/// Milliseconds slept since with() was called last, and how many pauses that were.
uint64_t slept_ms();
uint64_t pauses();

/// Device sets and paths that are open now.
uint32_t open_handles();

} // namespace virtualplatform
