#include "logonsession.h"

#include <windows.h>

QString logonSession()
{
    DWORD session = 0;
    if (!ProcessIdToSessionId(GetCurrentProcessId(), &session))
        return QString();
    return QString::number(session);
}
