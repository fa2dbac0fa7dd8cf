#include "kdmxctlprocess.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QTest>

#include <csignal>

namespace {

constexpr int patience_ms = 30000;

void start(QProcess *process, const QStringList &arguments)
{
    process->start(qEnvironmentVariable("KDMXCTL"), arguments);
    process->closeWriteChannel();
}

Outcome outcome_of(QProcess *process, const QByteArray &err)
{
    Outcome outcome;
    if (process->state() != QProcess::NotRunning && !process->waitForFinished(patience_ms))
        qWarning("kdmxctl does not end: %s", qPrintable(process->arguments().join(u' ')));
    else if (process->exitStatus() == QProcess::NormalExit)
        outcome.code = process->exitCode();
    outcome.out = process->readAllStandardOutput();
    outcome.err = err + process->readAllStandardError();
    return outcome;
}

} // namespace

QJsonObject Outcome::json() const
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(out, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        QTest::qFail(("no JSON object: " + out).constData(), __FILE__, __LINE__);
    return document.object();
}

QStringList words(const char *line)
{
    return QString::fromUtf8(line).split(u' ', Qt::SkipEmptyParts);
}

Outcome run_kdmxctl(const QStringList &arguments, const std::function<void(QProcess *)> &prepare)
{
    QProcess process;
    if (prepare)
        prepare(&process);
    start(&process, arguments);
    return outcome_of(&process, {});
}

KdmxctlProcess::KdmxctlProcess(const QStringList &arguments, bool ignores_signals)
{
    // Not left to chance: a test runner in the background hands down that interrupts are ignored.
    m_process.setChildProcessModifier([handler = ignores_signals ? SIG_IGN : SIG_DFL] {
        std::signal(SIGINT, handler);
        std::signal(SIGHUP, handler);
    });
    // What is waited for comes there.
    m_process.setReadChannel(QProcess::StandardError);
    start(&m_process, arguments);
}

bool KdmxctlProcess::await_error_text(const char *text)
{
    const QDeadlineTimer deadline(patience_ms);
    while (!m_err.contains(text)) {
        const bool has_more = m_process.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
        m_err += m_process.readAllStandardError();
        if (!has_more && !m_err.contains(text))
            return false;
    }
    return true;
}

void KdmxctlProcess::signal(int number)
{
    // Number 0, of a process that has ended, would mean this test and its siblings.
    if (const auto process = static_cast<pid_t>(m_process.processId()); process > 0)
        ::kill(process, number);
}

Outcome KdmxctlProcess::finish()
{
    return outcome_of(&m_process, m_err);
}
