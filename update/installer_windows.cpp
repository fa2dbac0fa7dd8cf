#include "installer.h"

QString installerProgram(const QString &path)
{
    return u'"' + path + u'"';
}
