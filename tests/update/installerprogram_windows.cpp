#include "installerprogram.h"

#include "environment.h"
#include "filecontent.h"

namespace installerprogram {

namespace {

QByteArray witness()
{
    return contentOf(qEnvironmentVariable("KDMX_INSTALLER_WITNESS"));
}

} // namespace

QByteArray content(const QString &marks, bool isLongLived)
{
    environment::set("KDMX_WITNESS_MARKS", marks);
    environment::set("KDMX_WITNESS_STAYS", isLongLived ? QStringLiteral("1") : QString());
    return witness();
}

QList<Unfit> unfit(const QString &name)
{
    constexpr qsizetype headers = 1024;
    return {{"not a program", {name, "an installer for another system"}},
            {"cut short", {name, witness().first(headers)}},
            {"empty", {name, ""}}};
}

} // namespace installerprogram
