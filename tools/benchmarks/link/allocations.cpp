#include "allocations.h"

#include <cstddef>

// The C library lets a program put its own functions in the place of these; C++'s operators rest on them.

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the C library's.
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *memory, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constinit thread_local uint64_t count = 0;

} // namespace

uint64_t allocations()
{
    return count;
}

extern "C" {

void *malloc(size_t size)
{
    ++count;
    return __libc_malloc(size);
}

void *calloc(size_t items, size_t size)
{
    ++count;
    return __libc_calloc(items, size);
}

void *realloc(void *memory, size_t size)
{
    ++count;
    return __libc_realloc(memory, size);
}

void *aligned_alloc(size_t alignment, size_t size)
{
    ++count;
    return __libc_memalign(alignment, size);
}
}
