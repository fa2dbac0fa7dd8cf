#pragma once

#include <cstddef>
#include <cstdint>

// What libFuzzer calls; the program that replays files calls the same.
extern "C" {

/// Prepares the process, once. 0, always.
int LLVMFuzzerInitialize(int *argc, char ***argv);

/// Runs one input. 0, always: a broken invariant ends the program.
int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size);
}
