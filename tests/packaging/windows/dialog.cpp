// Uses a dialog of another program as a person does: waits until it can be read, and presses one of its buttons.
//
//   dialog TEXT [BUTTON]
//
// Waits for a window that shows TEXT, as a part of one of its texts, then presses the button, check box or the like
// that is labelled BUTTON. Says that it looks; ends with 0, or with 1 after a minute, and then prints what could be
// read instead.
#include <cstdio>
#include <string>
#include <vector>

#include <windows.h>

namespace {

constexpr DWORD patience = 60000;
constexpr DWORD pause = 50;

struct Control
{
    HWND window;
    std::wstring text;
};

struct Dialog
{
    std::vector<Control> controls;

    const Control *showing(const std::wstring &part) const
    {
        for (const Control &control : controls) {
            if (control.text.find(part) != std::wstring::npos)
                return &control;
        }
        return nullptr;
    }

    const Control *labelled(const std::wstring &label) const
    {
        for (const Control &control : controls) {
            if (control.text == label && IsWindowEnabled(control.window))
                return &control;
        }
        return nullptr;
    }
};

// Without the marks of the keys that belong to them.
std::wstring readable(HWND window)
{
    wchar_t buffer[1024] = {};
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, std::size(buffer), reinterpret_cast<LPARAM>(buffer), SMTO_ABORTIFHUNG, 1000,
                        &length);
    std::wstring text;
    for (const wchar_t *letter = buffer; *letter; ++letter) {
        if (*letter != L'&')
            text += *letter;
    }
    return text;
}

BOOL CALLBACK addControl(HWND window, LPARAM dialog)
{
    if (IsWindowVisible(window))
        reinterpret_cast<Dialog *>(dialog)->controls.push_back({window, readable(window)});
    return TRUE;
}

BOOL CALLBACK addDialog(HWND window, LPARAM dialogs)
{
    // What is disabled waits for a box of its own.
    if (IsWindowVisible(window) && IsWindowEnabled(window)) {
        Dialog dialog;
        EnumChildWindows(window, addControl, reinterpret_cast<LPARAM>(&dialog));
        reinterpret_cast<std::vector<Dialog> *>(dialogs)->push_back(dialog);
    }
    return TRUE;
}

std::vector<Dialog> dialogs()
{
    std::vector<Dialog> found;
    EnumWindows(addDialog, reinterpret_cast<LPARAM>(&found));
    return found;
}

bool use(const std::wstring &text, const std::wstring &button)
{
    for (const Dialog &dialog : dialogs()) {
        if (!dialog.showing(text))
            continue;
        if (button.empty())
            return true;
        if (const Control *control = dialog.labelled(button))
            return PostMessageW(control->window, BM_CLICK, 0, 0);
    }
    return false;
}

void printTexts()
{
    for (const Dialog &dialog : dialogs()) {
        std::printf("A window with\n");
        for (const Control &control : dialog.controls)
            std::printf("    \"%ls\"\n", control.text.c_str());
    }
}

} // namespace

int wmain(int argc, wchar_t **argv)
{
    if (argc < 2)
        return 1;
    const std::wstring text = argv[1];
    const std::wstring button = argc > 2 ? argv[2] : L"";
    // The caller may wait until it runs.
    std::puts("Looking.");
    std::fflush(stdout);
    const DWORD start = GetTickCount();
    while (GetTickCount() - start < patience) {
        if (use(text, button))
            return 0;
        Sleep(pause);
    }
    std::printf("No window shows \"%ls\" with a button \"%ls\".\n", text.c_str(), button.c_str());
    printTexts();
    return 1;
}
