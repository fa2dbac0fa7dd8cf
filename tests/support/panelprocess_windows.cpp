#include "panelprocess.h"

#include <QRegularExpression>

#include <array>

#include <windows.h>

namespace {

struct Search
{
    DWORD process;
    QString title;
    QStringList found;
};

QString idOf(HWND window)
{
    return QString::number(reinterpret_cast<quintptr>(window));
}

HWND windowOf(const QString &id)
{
    return reinterpret_cast<HWND>(id.toULongLong());
}

QString titleOf(HWND window)
{
    std::array<wchar_t, 200> text = {};
    return QString::fromWCharArray(text.data(), GetWindowTextW(window, text.data(), static_cast<int>(text.size())));
}

BOOL CALLBACK look(HWND window, LPARAM parameter)
{
    auto *const search = reinterpret_cast<Search *>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == search->process && IsWindowVisible(window) && !IsIconic(window) && titleOf(window) == search->title)
        search->found += idOf(window);
    return TRUE;
}

} // namespace

QStringList PanelProcess::windows(const QString &title) const
{
    Search search = {static_cast<DWORD>(pid()), title, {}};
    EnumWindows(look, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

QString PanelProcess::activeWindow()
{
    return idOf(GetForegroundWindow());
}

void PanelProcess::minimise()
{
    const QString id = windows(QStringLiteral("VELMAR KD-MX Series")).value(0);
    PostMessageW(windowOf(id), WM_SYSCOMMAND, SC_MINIMIZE, 0);
}

void PanelProcess::closeWindow(const QString &id)
{
    PostMessageW(windowOf(id), WM_SYSCOMMAND, SC_CLOSE, 0);
}

// Qt says what Wine has not got: scaling by display, and the pictures of message boxes.
QString PanelProcess::withoutTheSystemsLines(const QString &output)
{
    static const QRegularExpression lines(
        QStringLiteral("^(qt[.]qpa[.]windows: SetProcessDpiAwarenessContext|EnableNonClientDpiScaling[(][)] failed"
                       "|QPixmap::fromWinHICON[(][)], failed).*\n"),
        QRegularExpression::MultilineOption);
    return QString(output).remove(lines);
}
