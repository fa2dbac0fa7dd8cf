#include "panelprocess.h"

#include <QTest>

#include <csignal>

namespace {

const QString mainTitle = QStringLiteral("VELMAR KD-MX Series");

QString output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

QString exactly(const QString &title)
{
    return u'^' + title + u'$';
}

} // namespace

PanelProcess::PanelProcess(const QString &program)
{
    m_process.setProgram(program);
    m_process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
}

PanelProcess::~PanelProcess()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

void PanelProcess::setVariable(const QString &name, const QString &value)
{
    QProcessEnvironment environment = m_process.processEnvironment();
    environment.insert(name, value);
    m_process.setProcessEnvironment(environment);
}

void PanelProcess::removeVariable(const QString &name)
{
    QProcessEnvironment environment = m_process.processEnvironment();
    environment.remove(name);
    m_process.setProcessEnvironment(environment);
}

bool PanelProcess::start()
{
    m_process.start();
    return m_process.waitForStarted();
}

QStringList PanelProcess::windows(const QString &title) const
{
    return output(QStringLiteral("xdotool"),
                  {QStringLiteral("search"), QStringLiteral("--all"), QStringLiteral("--onlyvisible"),
                   QStringLiteral("--pid"), QString::number(pid()), QStringLiteral("--name"), exactly(title)})
        .split(u'\n', Qt::SkipEmptyParts);
}

bool PanelProcess::waitForWindow(int timeoutMs)
{
    return waitForWindow(mainTitle, timeoutMs)
        && QTest::qWaitFor(
               [&] {
                   const QString active =
                       output(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow")}).trimmed();
                   return windows(mainTitle).contains(active);
               },
               timeoutMs);
}

bool PanelProcess::waitForWindow(const QString &title, int timeoutMs)
{
    return QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning || !windows(title).isEmpty(); },
                           timeoutMs)
        && m_process.state() == QProcess::Running;
}

int PanelProcess::waitForExit(int timeoutMs)
{
    if (!QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }, timeoutMs))
        return -1;
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -2;
}

int PanelProcess::close()
{
    const QStringList ids = windows(mainTitle);
    if (ids.isEmpty())
        return -1;
    output(QStringLiteral("xdotool"),
           {QStringLiteral("windowactivate"), QStringLiteral("--sync"), ids.first(), QStringLiteral("key"),
            QStringLiteral("alt+F4")});
    return waitForExit();
}

void PanelProcess::sendSignal(int number) const
{
    ::kill(static_cast<pid_t>(pid()), number);
}

QString PanelProcess::errorOutput()
{
    m_errorOutput += QString::fromUtf8(m_process.readAllStandardError());
    return m_errorOutput;
}
