#include "previewprocess.h"

#include <QDir>
#include <QTest>

namespace {

constexpr int patienceMs = 60'000;

QString outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

PreviewProcess::PreviewProcess()
{
    m_process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
    const QDir home(m_home.path());
    for (const QString &folder : {configFolder(), temporaryFolder()})
        home.mkpath(folder);
    setVariable(QStringLiteral("HOME"), m_home.path());
    setVariable(QStringLiteral("XDG_CONFIG_HOME"), configFolder());
    setVariable(QStringLiteral("TMPDIR"), temporaryFolder());
    removeVariable(QStringLiteral("QT_SCALE_FACTOR"));
    removeVariable(QStringLiteral("QT_QPA_PLATFORM"));
}

PreviewProcess::~PreviewProcess()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
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
}

bool PreviewProcess::awaitError(const QString &text)
{
    return QTest::qWaitFor([&] { return error().contains(text); }, patienceMs);
}

QStringList PreviewProcess::windows(const QString &title) const
{
    return outputOf(QStringLiteral("xdotool"),
                    {QStringLiteral("search"), QStringLiteral("--all"), QStringLiteral("--onlyvisible"),
                     QStringLiteral("--pid"), QString::number(pid()), QStringLiteral("--name"), u'^' + title + u'$'})
        .split(u'\n', Qt::SkipEmptyParts);
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
        outputOf(QStringLiteral("xdotool"),
                 QStringList{QStringLiteral("windowactivate"), QStringLiteral("--sync"), ids.first(),
                             QStringLiteral("key"), QStringLiteral("--clearmodifiers")}
                     + keys);
}

Outcome PreviewProcess::finish()
{
    Outcome outcome;
    if (!QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }, patienceMs))
        qWarning("update-preview does not end: %s", qPrintable(m_process.arguments().join(u' ')));
    else if (m_process.exitStatus() == QProcess::NormalExit)
        outcome.code = m_process.exitCode();
    outcome.out = QString::fromUtf8(m_process.readAllStandardOutput());
    outcome.err = error();
    return outcome;
}

QString PreviewProcess::error()
{
    m_error += QString::fromUtf8(m_process.readAllStandardError());
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
    const auto isEmpty = [](const QString &folder) {
        return QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    };
    if (!isEmpty(process.configFolder()) || !isEmpty(process.temporaryFolder()))
        QTest::qFail("the program has left files behind", __FILE__, __LINE__);
    return outcome;
}
