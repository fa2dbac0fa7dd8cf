#pragma once

/**
 * Ctrl-C and the signal to end, taken note of instead of ending the program at once: its folders are to go away. What
 * may take long looks here now and then. May be used from any thread.
 */
namespace interrupts {

/// Takes note from now on.
void begin();

/// Whether one has come.
bool haveCome();

} // namespace interrupts
