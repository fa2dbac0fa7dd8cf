#include "deaflistener.h"

#include <QDeadlineTimer>
#include <QThread>

#include <string>
#include <vector>

#include <windows.h>

struct DeafListener::Place
{
    // The system connects a caller to the first free instance.
    std::vector<HANDLE> pipes;
};

DeafListener::DeafListener(const QString &serverName, int backlog)
    : m_place(std::make_unique<Place>())
{
    const std::wstring path = (QStringLiteral("\\\\.\\pipe\\") + serverName).toStdWString();
    for (int count = 0; count <= backlog; ++count)
        m_place->pipes.push_back(CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                                  PIPE_TYPE_BYTE, static_cast<DWORD>(backlog + 1), 0, 0, 0, nullptr));
}

DeafListener::~DeafListener()
{
    for (const HANDLE pipe : m_place->pipes)
        CloseHandle(pipe);
}

bool DeafListener::listens() const
{
    return m_place->pipes.back() != INVALID_HANDLE_VALUE;
}

// Only an instance with a caller has bytes to report.
bool DeafListener::hasCaller(int timeoutMs) const
{
    const QDeadlineTimer deadline(timeoutMs);
    do {
        for (const HANDLE pipe : m_place->pipes) {
            DWORD bytes = 0;
            if (PeekNamedPipe(pipe, nullptr, 0, nullptr, &bytes, nullptr))
                return true;
        }
        QThread::msleep(1);
    } while (!deadline.hasExpired());
    return false;
}
