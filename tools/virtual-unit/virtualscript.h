#pragma once

#include "virtualunit.h"

#include <string>
#include <string_view>

/**
 * The text that describes a virtual unit, for the command lines of tools.
 *
 * Items separated by commas; an empty text changes nothing:
 *
 *     product=KD-MX4          the product's name, 1 to 47 bytes
 *     allowance=100           bytes granted at a time in a firmware transfer
 *     busy=3                  reads that find the unit busy after each message
 *     hz=96000                the sample rate
 *     debug=TEXT              debug text in the first block (no commas)
 *     KIND[:N][*COUNT][@FIRST]   a fault: stall, late, hard, short:N (bytes, 0 to 63), stale, garbled, busy, mute,
 *                             unplug; COUNT transfers (default: 1; "ever" for no end) from transfer FIRST (default: 0)
 *
 * "busy" alone is the fault, "busy=3" the setting. Numbers are decimal.
 */
namespace virtualscript {

/**
 * Applies a text to a unit that virtualunit_init() has made.
 *
 * @param unit   unchanged when the text is not understood
 * @param error  receives what is wrong with the text, in words; not null; unchanged on success
 * @return whether the whole text was understood
 */
bool apply(std::string_view text, virtualunit_t *unit, std::string *error);

} // namespace virtualscript
