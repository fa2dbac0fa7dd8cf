#include "probeprocess.h"

#include "processcontrol.h"

#include <QCoreApplication>
#include <QProcessEnvironment>
#include <QRegularExpression>

#ifdef __SANITIZE_THREAD__
// QProcess starts its processes with clone(2), after which ThreadSanitizer refuses new threads in this process too.
extern "C" const char *__tsan_default_options();

const char *__tsan_default_options()
{
    return "die_after_fork=0";
}
#endif

QString ProbeProcess::program()
{
    return qEnvironmentVariable("KDMX_PROBE");
}

ProbeProcess::ProbeProcess(const QString &runtimeFolder, const QStringList &arguments, const QString &program)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtimeFolder);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    m_process.setProcessEnvironment(environment);
    processcontrol::endWithThisProcess(m_process);

    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process, [this] { read(); });
    QObject::connect(&m_process, &QProcess::readyReadStandardError, &m_process, [this] { read(); });
    QObject::connect(&m_process, &QProcess::finished, &m_process, [this] {
        read();
        m_ended = true;
    });
    m_process.start(program, arguments);
}

ProbeProcess::~ProbeProcess()
{
    m_process.disconnect();
    m_process.kill();
    m_process.waitForFinished();
}

int ProbeProcess::sendingTime() const
{
    static const QRegularExpression pattern(QStringLiteral("^after (\\d+) ms$"));
    const qsizetype index = m_lines.indexOf(pattern);
    return index < 0 ? -1 : pattern.match(m_lines.at(index)).captured(1).toInt();
}

int ProbeProcess::exitCode() const
{
    return m_ended && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

void ProbeProcess::kill()
{
    m_process.kill();
}

void ProbeProcess::suspend()
{
    processcontrol::suspend(m_process.processId());
}

void ProbeProcess::resume()
{
    processcontrol::resume(m_process.processId());
}

void ProbeProcess::read()
{
    m_errors += m_process.readAllStandardError();
    m_output += m_process.readAllStandardOutput();
    for (qsizetype end = m_output.indexOf('\n'); end >= 0; end = m_output.indexOf('\n')) {
        m_lines += QString::fromUtf8(m_output.left(end)).remove(u'\r');
        m_output.remove(0, end + 1);
    }
}
