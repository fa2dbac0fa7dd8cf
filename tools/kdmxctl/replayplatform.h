#pragma once

#include "trace.h"
#include "usplatform.h"

#include <string>
#include <vector>

/**
 * A platform of the device link that plays a trace: a recorded unit.
 *
 * The link must do exactly what the trace tells, in the same order. At the first step that differs the deviation is
 * noted and this and every further transfer fails. Pauses take no time.
 */
namespace kdmxctl::replayplatform {

/// What the trace has and what the command did instead.
struct Deviation
{
    size_t line; ///< of the trace; 0 at its end
    std::string expected;
    std::string actual;
};

/// @return the one replay of the process, to be given to usplatform_use()
const usplatform_t *with(std::vector<TraceStep> steps);

/// The first deviation so far; null when there is none.
const Deviation *deviation();

/// Counts the steps that the command has left over as a deviation. Call it when the command has ended.
void finish();

} // namespace kdmxctl::replayplatform
