#include "instancechannel.h"

#include <QLocalSocket>

#include <string>

#include <windows.h>

InstanceChannel instanceChannel(const QString &id)
{
    return {QStringLiteral("Local\\") + id, id, {}};
}

bool connectToChannel(QLocalSocket &socket, const QString &serverName)
{
    const std::wstring path = (QStringLiteral("\\\\.\\pipe\\") + serverName).toStdWString();
    // Identification only: a process that listens under this name must not be able to act as this one.
    const HANDLE pipe = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr);
    if (pipe == INVALID_HANDLE_VALUE)
        return false;
    return socket.setSocketDescriptor(reinterpret_cast<qintptr>(pipe));
}

void allowForeground(const QLocalSocket &socket)
{
    ULONG process = 0;
    if (GetNamedPipeServerProcessId(reinterpret_cast<HANDLE>(socket.socketDescriptor()), &process))
        AllowSetForegroundWindow(process);
}
