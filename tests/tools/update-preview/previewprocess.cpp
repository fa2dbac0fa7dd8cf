#include "previewprocess.h"

#include "previewwindows.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QTest>

namespace {

constexpr int patienceMs = 60'000;
constexpr int retryMs = 500;

QString textOf(const QByteArray &output)
{
    return QString::fromUtf8(output).remove(u'\r');
}

} // namespace

PreviewProcess::PreviewProcess()
{
    m_process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
    const QString temporary = m_home.filePath(QStringLiteral("tmp"));
    for (const QString &folder : {configFolder(), temporary})
        QDir().mkpath(folder);
    setVariable(QStringLiteral("HOME"), m_home.path());
    setVariable(QStringLiteral("XDG_CONFIG_HOME"), configFolder());
    removeVariable(QStringLiteral("QT_SCALE_FACTOR"));
    removeVariable(QStringLiteral("QT_QPA_PLATFORM"));
    useTemporaryFolder(temporary);
}

PreviewProcess::~PreviewProcess()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

QString PreviewProcess::configFolder() const
{
    return previewwindows::settingsFolder(m_home.path());
}

void PreviewProcess::useTemporaryFolder(const QString &folder)
{
    m_temporaryFolder = folder;
    setVariable(previewwindows::temporaryVariable(), folder);
    m_contents = contents();
}

QStringList PreviewProcess::contents() const
{
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot;
    return QDir(configFolder()).entryList(everything) + QDir(temporaryFolder()).entryList(everything);
}

void PreviewProcess::setVariable(const QString &name, const QString &value)
{
    QProcessEnvironment environment = m_process.processEnvironment();
    environment.insert(name, value);
    m_process.setProcessEnvironment(environment);
}

void PreviewProcess::removeVariable(const QString &name)
{
    QProcessEnvironment environment = m_process.processEnvironment();
    environment.remove(name);
    m_process.setProcessEnvironment(environment);
}

void PreviewProcess::start(const QStringList &arguments)
{
    m_process.start(qEnvironmentVariable("UPDATE_PREVIEW"), arguments);
    m_process.closeWriteChannel();
    // Before that it has no process number to find its windows by.
    m_process.waitForStarted();
}

bool PreviewProcess::awaitError(const QString &text)
{
    return QTest::qWaitFor([&] { return error().contains(text); }, patienceMs);
}

QStringList PreviewProcess::windows(const QString &title) const
{
    return previewwindows::find(pid(), title);
}

bool PreviewProcess::awaitWindow(const QString &title)
{
    return QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning || !windows(title).isEmpty(); },
                           patienceMs)
        && m_process.state() == QProcess::Running;
}

bool PreviewProcess::awaitNoWindow(const QString &title)
{
    return QTest::qWaitFor([&] { return windows(title).isEmpty(); }, patienceMs);
}

void PreviewProcess::press(const QStringList &keys, const QString &title)
{
    const QStringList ids = windows(title);
    if (!ids.isEmpty())
        previewwindows::press(ids.first(), keys);
}

Outcome PreviewProcess::pressToTheEnd(const QStringList &keys, const QString &title)
{
    const QDeadlineTimer limit(patienceMs);
    do {
        press(keys, title);
    } while (!hasEndedWithin(retryMs) && !limit.hasExpired());
    return finish();
}

bool PreviewProcess::hasEndedWithin(int milliseconds) const
{
    return QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }, milliseconds);
}

Outcome PreviewProcess::finish()
{
    Outcome outcome;
    if (!hasEndedWithin(patienceMs))
        qWarning("update-preview does not end: %s", qPrintable(m_process.arguments().join(u' ')));
    else if (m_process.exitStatus() == QProcess::NormalExit)
        outcome.code = m_process.exitCode();
    outcome.out = textOf(m_process.readAllStandardOutput());
    outcome.err = previewwindows::withoutNoise(error());
    return outcome;
}

QString PreviewProcess::error()
{
    m_error += textOf(m_process.readAllStandardError());
    return m_error;
}

Outcome runPreview(const QStringList &arguments)
{
    PreviewProcess process;
    process.removeVariable(QStringLiteral("DISPLAY"));
    process.removeVariable(QStringLiteral("WAYLAND_DISPLAY"));
    process.start(arguments);
    const Outcome outcome = process.finish();
    // Whatever was asked for, nothing of it lies about afterwards.
    if (!process.hasLeftNothing())
        QTest::qFail("the program has left files behind", __FILE__, __LINE__);
    return outcome;
}
