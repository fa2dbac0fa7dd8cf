#include "packagescene.h"

#include <windows.h>

bool isAlive(qint64 pid)
{
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
    // While somebody still asks about it, an ended one is there.
    const bool isRunning = process != nullptr && WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    if (process != nullptr)
        CloseHandle(process);
    return isRunning;
}
