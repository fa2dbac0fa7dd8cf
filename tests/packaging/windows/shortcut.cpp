// Prints what an entry of the Start menu starts, and the folder that it starts in, as UTF-8. (Wine does not keep its
// application id.)
//
//   shortcut FILE
#include <cstdio>
#include <iterator>

#include <windows.h>

#include <shlobj.h>

namespace {

void print(const wchar_t *text)
{
    char buffer[3 * MAX_PATH] = {};
    WideCharToMultiByte(CP_UTF8, 0, text, -1, buffer, std::size(buffer), nullptr, nullptr);
    std::puts(buffer);
}

bool load(IShellLinkW *link, const wchar_t *file)
{
    IPersistFile *persistence = nullptr;
    if (FAILED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void **>(&persistence))))
        return false;
    const bool loaded = SUCCEEDED(persistence->Load(file, STGM_READ));
    persistence->Release();
    return loaded;
}

bool show(const wchar_t *file)
{
    IShellLinkW *link = nullptr;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                reinterpret_cast<void **>(&link))))
        return false;
    wchar_t program[MAX_PATH] = {};
    wchar_t folder[MAX_PATH] = {};
    const bool read = load(link, file) && SUCCEEDED(link->GetPath(program, MAX_PATH, nullptr, SLGP_RAWPATH))
        && SUCCEEDED(link->GetWorkingDirectory(folder, MAX_PATH));
    if (read) {
        print(program);
        print(folder);
    }
    link->Release();
    return read;
}

} // namespace

int wmain(int argc, wchar_t **argv)
{
    if (argc != 2 || FAILED(CoInitialize(nullptr)))
        return 1;
    const bool shown = show(argv[1]);
    CoUninitialize();
    return shown ? 0 : 1;
}
