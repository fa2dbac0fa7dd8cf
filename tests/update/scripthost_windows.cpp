#include "scripthost.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

namespace {

// One that still ends cannot be replaced.
constexpr int patienceMs = 10'000;

QString besideTheProgram()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/cscript.exe");
}

} // namespace

ScriptHost::ScriptHost()
{
    useStandIn();
}

ScriptHost::~ScriptHost()
{
    clear();
    qunsetenv("KDMX_CSCRIPT_MODE");
}

void ScriptHost::useStandIn(const QByteArray &mode)
{
    clear();
    if (!QFile::copy(qEnvironmentVariable("KDMX_CSCRIPT"), besideTheProgram()))
        qFatal("ScriptHost: the stand-in cannot be put beside the program");
    qputenv("KDMX_CSCRIPT_MODE", mode);
}

void ScriptHost::useNone()
{
    constexpr qint64 headers = 1024;
    clear();
    // If nothing were here, the system's own would be found: a program that is cut short stands in its way.
    QFile standIn(qEnvironmentVariable("KDMX_CSCRIPT"));
    QFile file(besideTheProgram());
    if (!standIn.open(QIODevice::ReadOnly) || !file.open(QIODevice::WriteOnly) || file.write(standIn.read(headers)) < 0)
        qFatal("ScriptHost: no file can be put beside the program");
}

void ScriptHost::useSystems()
{
    clear();
}

void ScriptHost::clear() const
{
    const auto isGone = [] { return !QFile::exists(besideTheProgram()) || QFile::remove(besideTheProgram()); };
    if (!QTest::qWaitFor(isGone, patienceMs))
        qFatal("ScriptHost: the stand-in still runs");
}
