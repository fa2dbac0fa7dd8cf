#include "processcontrol.h"

#include <windows.h>

#include <tlhelp32.h>

namespace processcontrol {

namespace {

template <typename Function>
void forEachThread(qint64 processId, Function function)
{
    const HANDLE threads = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Thread32First(threads, &entry); more; more = Thread32Next(threads, &entry)) {
        if (entry.th32OwnerProcessID != static_cast<DWORD>(processId))
            continue;
        const HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME, FALSE, entry.th32ThreadID);
        function(thread);
        CloseHandle(thread);
    }
    CloseHandle(threads);
}

/// A job that ends all its processes when its last handle is closed, be it by the end of this process. Children are
/// in the job of their parent.
HANDLE joinJob()
{
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    AssignProcessToJobObject(job, GetCurrentProcess());
    return job;
}

} // namespace

void suspend(qint64 processId)
{
    forEachThread(processId, [](HANDLE thread) { SuspendThread(thread); });
}

void resume(qint64 processId)
{
    forEachThread(processId, [](HANDLE thread) { ResumeThread(thread); });
}

void endWithThisProcess(QProcess & /*process*/)
{
    [[maybe_unused]] static const HANDLE job = joinJob();
}

} // namespace processcontrol
