#include "panelprocess.h"

#include "processcontrol.h"

#include <QTest>

namespace {

const QString mainTitle = QStringLiteral("VELMAR KD-MX Series");

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

bool PanelProcess::waitForWindow(int timeoutMs)
{
    return waitForWindow(mainTitle, timeoutMs);
}

bool PanelProcess::waitForWindow(const QString &title, int timeoutMs)
{
    const auto isActive = [&] { return windows(title).contains(activeWindow()); };
    if (QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning || isActive(); }, timeoutMs))
        return m_process.state() == QProcess::Running;
    // A window that is there and does not become active has another reason than one that does not come.
    qInfo("Visible with the title \"%s\": %s; active: %s", qPrintable(title), qPrintable(windows(title).join(u' ')),
          qPrintable(activeWindow()));
    return false;
}

int PanelProcess::waitForExit(int timeoutMs)
{
    if (!QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }, timeoutMs))
        return -1;
    const int code = m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -2;
    // A sanitizer's report and a crash's last words would else be lost with the process.
    if (code != 0)
        qInfo("The panel ended with %d and had printed:\n%s", code, qPrintable(errorOutput()));
    return code;
}

int PanelProcess::close()
{
    const QStringList ids = windows(mainTitle);
    if (ids.isEmpty())
        return -1;
    closeWindow(ids.first());
    return waitForExit();
}

void PanelProcess::suspend() const
{
    processcontrol::suspend(pid());
}

void PanelProcess::resume() const
{
    processcontrol::resume(pid());
}

QString PanelProcess::errorOutput()
{
    m_errorOutput += QString::fromUtf8(m_process.readAllStandardError()).remove(u'\r');
    return withoutTheSystemsLines(m_errorOutput);
}
