#pragma once

/**
 * Ctrl-C, counted instead of ending the process: the program ends by itself, between two transfers.
 */
namespace interrupts {

/// Starts counting.
void begin();

/// How often Ctrl-C was pressed since begin().
int count();

/// Whether somebody wants the process to end without asking twice (the system, a supervisor).
bool must_end();

/// From now on the loss of the terminal is no reason to end: what runs must not be left half done.
void survive_hangup();

} // namespace interrupts
