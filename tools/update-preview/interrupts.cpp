#include "interrupts.h"

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace interrupts {

namespace {

// The system picks the thread that is told.
std::atomic<bool> came = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void takeNote(int number)
{
    came = true;
    // A second one ends a program that hangs.
    std::signal(number, SIG_DFL);
}

} // namespace

void begin()
{
    for (const int number : {SIGINT, SIGTERM}) {
        // Who started the program may have had reasons to let it ignore the signal ("&").
        if (std::signal(number, takeNote) == SIG_IGN)
            std::signal(number, SIG_IGN);
    }
}

bool haveCome()
{
    return came;
}

} // namespace interrupts
