#include "commandline.h"

#include <windows.h>

#include <shellapi.h>

namespace commandline {

namespace {

std::string utf8(const wchar_t *text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), size, nullptr, nullptr);
    bytes.resize(bytes.size() - 1);
    return bytes;
}

} // namespace

// What main() is given stands in the code page of the system, which cannot express every file name.
std::vector<std::string> arguments(int, char **)
{
    int count = 0;
    wchar_t **const values = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int index = 1; index < count; ++index)
        arguments.push_back(utf8(values[index]));
    LocalFree(values);
    return arguments;
}

unsigned show_utf8()
{
    const UINT before = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    return before;
}

void restore_console(unsigned before)
{
    // 0 where there is no console.
    if (before != 0)
        SetConsoleOutputCP(before);
}

} // namespace commandline
