#pragma once

#include <cstdint>

/// How often this thread has asked for memory so far, in C or C++.
uint64_t allocations();
