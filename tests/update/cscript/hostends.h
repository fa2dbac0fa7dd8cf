#pragma once

/**
 * The ways in which a script host ends, or does not. They differ from system to system.
 */
namespace hostends {

/// Lets this process end with the one that started it: it must not stay behind when a test dies.
void endWithParent();

/// Ends as a program that crashes.
[[noreturn]] void crash();

/// Never ends.
[[noreturn]] void hang();

} // namespace hostends
