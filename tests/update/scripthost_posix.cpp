#include "scripthost.h"

#include "environment.h"

#include <QFile>

ScriptHost::ScriptHost()
{
    environment::set("PATH", programs());
    useStandIn();
}

ScriptHost::~ScriptHost()
{
    environment::set("PATH", m_formerPath);
    qunsetenv("KDMX_CSCRIPT_MODE");
}

void ScriptHost::useStandIn(const QByteArray &mode)
{
    clear();
    QFile::link(qEnvironmentVariable("KDMX_CSCRIPT"), m_programs.filePath(QStringLiteral("cscript")));
    qputenv("KDMX_CSCRIPT_MODE", mode);
}

void ScriptHost::useNone()
{
    clear();
}

void ScriptHost::useSystems()
{
    clear();
}

void ScriptHost::clear() const
{
    QFile::remove(m_programs.filePath(QStringLiteral("cscript")));
}
