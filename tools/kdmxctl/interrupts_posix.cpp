#include "interrupts.h"

#include <csignal>

namespace interrupts {

namespace {

volatile std::sig_atomic_t interrupt_count = 0;
volatile std::sig_atomic_t is_terminated = 0;

void on_interrupt(int)
{
    interrupt_count = interrupt_count + 1;
}

void on_termination(int)
{
    is_terminated = 1;
}

/// Calls that wait are interrupted, not restarted, so that the signal is looked at soon.
void handle(int signal, void (*handler)(int))
{
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    // Who started the program may have had reasons to let it ignore the signal ("nohup", "&").
    if (before.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

void begin()
{
    handle(SIGINT, on_interrupt);
    handle(SIGTERM, on_termination);
    handle(SIGQUIT, on_termination);
    handle(SIGHUP, on_termination);
}

int count()
{
    return interrupt_count;
}

bool must_end()
{
    return is_terminated != 0;
}

void survive_hangup()
{
    handle(SIGHUP, SIG_IGN);
}

} // namespace interrupts
