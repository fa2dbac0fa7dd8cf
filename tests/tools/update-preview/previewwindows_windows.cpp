#include "previewwindows.h"

#include "realinput.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <array>

#include <windows.h>

namespace previewwindows {

namespace {

constexpr int patienceMs = 10'000;

struct Search
{
    DWORD process;
    QString title;
    QStringList found;
};

BOOL CALLBACK look(HWND window, LPARAM parameter)
{
    auto *const search = reinterpret_cast<Search *>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    std::array<wchar_t, 200> text = {};
    const int length = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    if (process == search->process && IsWindowVisible(window)
        && QString::fromWCharArray(text.data(), length) == search->title)
        search->found += QString::number(reinterpret_cast<quintptr>(window));
    return TRUE;
}

} // namespace

QStringList find(qint64 processId, const QString &title)
{
    Search search = {static_cast<DWORD>(processId), title, {}};
    EnumWindows(look, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

void press(const QString &window, const QStringList &keys)
{
    auto *const handle = reinterpret_cast<HWND>(window.toULongLong());
    SetForegroundWindow(handle);
    const auto hasIt = [handle] { return GetForegroundWindow() == handle; };
    QVERIFY(QTest::qWaitFor([&] { return hasIt() || !IsWindowVisible(handle); }, patienceMs));
    if (!hasIt())
        return;
    for (const QString &key : keys)
        realinput::key(key);
}

QString settingsFolder(const QString & /*home*/)
{
    return QDir::fromNativeSeparators(qEnvironmentVariable("APPDATA"));
}

QString withoutNoise(const QString &error)
{
    // Qt complains of what Wine lacks.
    static const QRegularExpression lines(
        QStringLiteral(
            "^(QPixmap::fromWinHICON\\(\\), failed to GetIconInfo\\(\\)|EnableNonClientDpiScaling\\(\\) failed).*\n"),
        QRegularExpression::MultilineOption);
    return QString(error).remove(lines);
}

QString temporaryVariable()
{
    return QStringLiteral("TMP");
}

} // namespace previewwindows
