#include "packagescene.h"

#include <windows.h>

bool isAlive(qint64 pid)
{
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
    // An ended process is there for as long as somebody has it open.
    const bool isRunning = process != nullptr && WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    if (process != nullptr)
        CloseHandle(process);
    return isRunning;
}
