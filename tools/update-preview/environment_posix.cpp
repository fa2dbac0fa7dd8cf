#include "environment.h"

#include <QFile>

namespace environment {

void set(const char *name, const QString &value)
{
    qputenv(name, QFile::encodeName(value));
}

} // namespace environment
