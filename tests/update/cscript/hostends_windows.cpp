#include "hostends.h"

#include <cstdlib>

#include <windows.h>

namespace hostends {

// The Windows that a test runs in ends with the test, and everything in it.
void endWithParent() { }

void crash()
{
    // The code that Windows gives such a program, without its dialog.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_ACCESS_VIOLATION));
    std::abort();
}

void hang()
{
    for (;;)
        Sleep(INFINITE);
}

} // namespace hostends
