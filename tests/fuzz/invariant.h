#pragma once

#include <cstdio>
#include <cstdlib>

/**
 * Ends the program when an invariant does not hold, so that a fuzzer keeps the input.
 *
 * @param which  its number in docs/security.md and what was seen
 */
inline void invariant(bool holds, const char *which)
{
    if (holds)
        return;
    std::fprintf(stderr, "invariant broken: %s\n", which);
    std::abort();
}
