// An installer for tests, without Qt, as installers are. What it tells, and when it ends: installerprogram.h. Beside
// "begun" it writes "start": its command line and the id of the process that started it.
//
// KDMX_WITNESS_MARKS  the folder for what it tells
// KDMX_WITNESS_STAYS  not empty: it goes on until it is told to end, a minute at most

#include <filesystem>
#include <fstream>
#include <string>

#include <windows.h>

#include <shellapi.h>
#include <tlhelp32.h>

namespace {

constexpr DWORD pollMs = 20;
constexpr int polls = 3000;

std::wstring variable(const wchar_t *name)
{
    wchar_t value[MAX_PATH] = L"";
    return {value, GetEnvironmentVariableW(name, value, MAX_PATH)};
}

std::string utf8(const std::wstring &text)
{
    const int length = static_cast<int>(text.size());
    std::string bytes(4 * text.size(), '\0');
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), static_cast<int>(bytes.size()),
                                         nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

std::wstring ownPath()
{
    wchar_t path[MAX_PATH] = L"";
    return {path, GetModuleFileNameW(nullptr, path, MAX_PATH)};
}

std::wstring currentFolder()
{
    wchar_t path[MAX_PATH] = L"";
    return {path, GetCurrentDirectoryW(MAX_PATH, path)};
}

int argumentCount()
{
    int count = 0;
    LocalFree(CommandLineToArgvW(GetCommandLineW(), &count));
    return count - 1;
}

DWORD parent()
{
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W process = {};
    process.dwSize = sizeof process;
    DWORD found = 0;
    for (BOOL more = Process32FirstW(all, &process); more; more = Process32NextW(all, &process)) {
        if (process.th32ProcessID == GetCurrentProcessId())
            found = process.th32ParentProcessID;
    }
    CloseHandle(all);
    return found;
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    const std::filesystem::path marks = variable(L"KDMX_WITNESS_MARKS");
    std::ofstream(marks / "start", std::ios::binary) << utf8(GetCommandLineW()) << '\n' << parent() << '\n';
    std::ofstream(marks / "begun", std::ios::binary | std::ios::app)
        << utf8(ownPath()) + '\n' + std::to_string(argumentCount()) + '\n' + utf8(currentFolder()) + '\n';
    if (variable(L"KDMX_WITNESS_STAYS").empty())
        return 0;
    for (int poll = 0; poll < polls && !std::filesystem::exists(marks / "go"); ++poll)
        Sleep(pollMs);
    std::ofstream(marks / "done").put('\n');
    return 0;
}
