#include "logonsession.h"

#include <unistd.h>

QString logonSession()
{
    return QString::number(::geteuid());
}
