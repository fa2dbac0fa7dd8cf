#include "installerprogram.h"

#include <QFile>

namespace installerprogram {

QByteArray content(const QString &marks, bool isLongLived)
{
    const auto mark = [&](const char *name) { return '\'' + QFile::encodeName(marks) + '/' + name + '\''; };
    const QByteArray script = "#!/bin/sh\nprintf '%s\\n%s\\n%s\\n' \"$0\" \"$#\" \"$PWD\" >>" + mark("begun") + '\n';
    if (!isLongLived)
        return script;
    // It must not stay behind when the test itself dies.
    return script + "for attempt in 1 2 3 4 5 6; do\nfor part in 0 1 2 3 4 5 6 7 8 9; do\n[ -e " + mark("go")
        + " ] && { : >" + mark("done") + "; exit; }\n/bin/sleep 0.5\ndone\ndone\n";
}

QList<Unfit> unfit(const QString &name)
{
    return {{"not executable", {name, "#!/bin/sh\n"}},
            {"not a program", {name, "an installer for Windows", true}},
            {"interpreter missing", {name, "#!/no/such/shell\n", true}}};
}

} // namespace installerprogram
