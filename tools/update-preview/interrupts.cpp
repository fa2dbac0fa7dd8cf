#include "interrupts.h"

#include <csignal>

namespace interrupts {

namespace {

volatile std::sig_atomic_t came = 0;

void takeNote(int number)
{
    came = 1;
    // A second one ends a program that hangs.
    std::signal(number, SIG_DFL);
}

} // namespace

void begin()
{
    std::signal(SIGINT, takeNote);
    std::signal(SIGTERM, takeNote);
}

bool haveCome()
{
    return came != 0;
}

} // namespace interrupts
