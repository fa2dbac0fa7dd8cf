#pragma once

#include <QString>

/**
 * The rounds that a soak program has to run, and what it reports of them.
 *
 * A round does all that it does by chance from one seed, so the seed repeats it, as far as the machine's own timing
 * lets it. The soak script gives the seeds; without it the short form runs, always with the same ones.
 */
namespace rounds {

/// Adds the rows of a test function, each with a `seed`: $KDMX_SOAK_ROUNDS of them (default: a few) from
/// $KDMX_SOAK_SEED (default: 1).
void add(int unlessTold);

/// Notes that the round of a seed begins: if it never ends, this tells which it was.
void begin(unsigned int seed);

/// Notes for the script's table that something has been done, or was seen.
void count(const char *what, qsizetype times = 1);

/// What a sanitizer says in what a process wrote; empty if it says nothing.
QString sanitizerReport(const QString &errorOutput);

} // namespace rounds
