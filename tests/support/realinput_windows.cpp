#include "realinput.h"

#include <QHash>
#include <QList>
#include <QTest>

#include <windows.h>

namespace realinput {

namespace {

WORD virtualKey(const QString &name)
{
    static const QHash<QString, WORD> keys = {
        {QStringLiteral("ctrl"), VK_CONTROL},  {QStringLiteral("alt"), VK_MENU},
        {QStringLiteral("shift"), VK_SHIFT},   {QStringLiteral("Alt_L"), VK_LMENU},
        {QStringLiteral("Tab"), VK_TAB},       {QStringLiteral("Return"), VK_RETURN},
        {QStringLiteral("Escape"), VK_ESCAPE}, {QStringLiteral("space"), VK_SPACE},
        {QStringLiteral("Home"), VK_HOME},     {QStringLiteral("End"), VK_END},
        {QStringLiteral("Left"), VK_LEFT},     {QStringLiteral("Right"), VK_RIGHT},
        {QStringLiteral("Up"), VK_UP},         {QStringLiteral("Down"), VK_DOWN},
        {QStringLiteral("F4"), VK_F4},
    };
    if (name.size() == 1)
        return static_cast<WORD>(name.at(0).toUpper().unicode());
    return keys.value(name);
}

/// The keys of the grey block share their codes with those of the numeric pad.
DWORD flagsOf(WORD key)
{
    static const QList<WORD> grey = {VK_HOME, VK_END, VK_LEFT, VK_RIGHT, VK_UP, VK_DOWN};
    return grey.contains(key) ? KEYEVENTF_EXTENDEDKEY : 0;
}

INPUT keyInput(WORD key, DWORD flags)
{
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
    input.ki.dwFlags = flagsOf(key) | flags;
    return input;
}

INPUT buttonInput(DWORD flags)
{
    INPUT input = {};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = flags;
    return input;
}

void send(QList<INPUT> inputs)
{
    const auto count = static_cast<UINT>(inputs.size());
    QCOMPARE(SendInput(count, inputs.data(), sizeof(INPUT)), count);
    // Nothing tells when the event has arrived. Tests wait for its effects; this is for events without any.
    QTest::qWait(50);
}

} // namespace

void click(QPoint screenPixel)
{
    QVERIFY(SetCursorPos(screenPixel.x(), screenPixel.y()));
    send({buttonInput(MOUSEEVENTF_LEFTDOWN), buttonInput(MOUSEEVENTF_LEFTUP)});
}

void key(const QString &name)
{
    QList<INPUT> inputs;
    const QStringList parts = name.split(u'+');
    for (const QString &part : parts) {
        QVERIFY2(virtualKey(part) != 0, qPrintable(part));
        inputs.append(keyInput(virtualKey(part), 0));
    }
    for (qsizetype index = parts.size() - 1; index >= 0; --index)
        inputs.append(keyInput(virtualKey(parts.at(index)), KEYEVENTF_KEYUP));
    send(inputs);
}

} // namespace realinput
