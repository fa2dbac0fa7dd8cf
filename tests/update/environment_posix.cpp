#include "environment.h"

#include <QFile>

namespace environment {

void set(const char *name, const QString &value)
{
    qputenv(name, QFile::encodeName(value));
}

const char *temporaryFolder()
{
    return "TMPDIR";
}

QByteArray lineEnd()
{
    return "\n";
}

bool isWine()
{
    return false;
}

} // namespace environment
