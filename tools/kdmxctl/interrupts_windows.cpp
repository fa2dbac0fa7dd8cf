#include "interrupts.h"

#include <atomic>
#include <windows.h>

namespace interrupts {

namespace {

std::atomic<int> interrupt_count = 0;
std::atomic<bool> is_terminated = false;

// The system calls this on a thread of its own.
BOOL WINAPI on_event(DWORD event)
{
    if (event == CTRL_C_EVENT)
        ++interrupt_count;
    else
        is_terminated = true;
    return TRUE;
}

} // namespace

void begin()
{
    SetConsoleCtrlHandler(on_event, TRUE);
}

int count()
{
    return interrupt_count;
}

bool must_end()
{
    return is_terminated;
}

// The system ends a process whose console was closed, whatever the process wants.
void survive_hangup() { }

} // namespace interrupts
