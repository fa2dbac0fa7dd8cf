#include "display.h"

#include <QFile>

namespace display {

namespace {

// Message boxes break their lines by the width of the screen. This one is wide enough at every scale.
constexpr char screen[] = R"({"screens": [{"name": "preview", "x": 0, "y": 0, "width": 7680, "height": 4320,
    "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";

} // namespace

bool isThere()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

void drawInMemory(const QString &folder)
{
    // A platform that the user names is kept.
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        return;
    QFile file(folder + QStringLiteral("/screen.json"));
    if (file.open(QIODevice::WriteOnly))
        file.write(screen);
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + QFile::encodeName(file.fileName()));
}

} // namespace display
