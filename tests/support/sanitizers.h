#pragma once

/**
 * @file
 * What watches the programs of this build. Tests ask where it slows things down, or where it cannot follow.
 */

#ifdef __SANITIZE_THREAD__
/// Whether this is a build under ThreadSanitizer. It no longer sees the locks of a thread that has started a process.
inline constexpr bool underThreadSanitizer = true;
#else
/// Whether this is a build under ThreadSanitizer. It no longer sees the locks of a thread that has started a process.
inline constexpr bool underThreadSanitizer = false;
#endif

#ifdef __SANITIZE_ADDRESS__
/// Whether this is a build under AddressSanitizer.
inline constexpr bool underAddressSanitizer = true;
#else
/// Whether this is a build under AddressSanitizer.
inline constexpr bool underAddressSanitizer = false;
#endif
