#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/**
 * What the service finds when it starts "cscript", while this lives: at first the stand-in of cscript/cscript.cpp, the
 * program in $KDMX_CSCRIPT. One at a time.
 *
 * It stands where the system looks first: elsewhere PATH, which is a private folder meanwhile, on Windows the folder of
 * this program, which no other test program shares.
 */
class ScriptHost
{
public:
    ScriptHost();
    ~ScriptHost();
    Q_DISABLE_COPY_MOVE(ScriptHost)

    /// The stand-in. @param mode  KDMX_CSCRIPT_MODE
    void useStandIn(const QByteArray &mode = {});

    /// Nothing that could be started.
    void useNone();

    /// The system's own; there is none but on Windows.
    void useSystems();

    /// The private folder, which is not looked at on Windows.
    QString programs() const { return m_programs.path(); }

private:
    void clear() const;

    QTemporaryDir m_programs;
    const QString m_formerPath = qEnvironmentVariable("PATH");
};
