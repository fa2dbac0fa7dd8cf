#include "environment.h"

#include <cstdlib>

#include <windows.h>

namespace environment {

void set(const char *name, const QString &value)
{
    _wputenv_s(QString::fromLatin1(name).toStdWString().c_str(), value.toStdWString().c_str());
}

const char *temporaryFolder()
{
    return "TMP";
}

QByteArray lineEnd()
{
    return "\r\n";
}

bool isWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace environment
