#include "identitycheck.h"

#include <QGuiApplication>
#include <QIcon>

bool hasDesktopIdentity()
{
    // Windows show the executable's icon as long as nobody sets another. Wine does not tell the application id.
    return QGuiApplication::windowIcon().isNull();
}
