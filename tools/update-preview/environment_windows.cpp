#include "environment.h"

#include <cstdlib>

namespace environment {

void set(const char *name, const QString &value)
{
    _wputenv_s(QString::fromLatin1(name).toStdWString().c_str(), value.toStdWString().c_str());
}

} // namespace environment
