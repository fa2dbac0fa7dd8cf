#include "identitycheck.h"

#include <QGuiApplication>
#include <QIcon>

bool hasDesktopIdentity()
{
    return !QGuiApplication::windowIcon().isNull()
        && QGuiApplication::desktopFileName() == QStringLiteral("example.velmar.KDMXSeries");
}
