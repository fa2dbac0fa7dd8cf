#include "desktopidentity.h"

#include <QGuiApplication>
#include <QIcon>

void setDesktopIdentity()
{
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/Resource/icon/icon_128.png")));
    QGuiApplication::setDesktopFileName(QStringLiteral("example.velmar.KDMXSeries"));
}
