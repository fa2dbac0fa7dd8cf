#include "installerowner.h"

#include <QTest>

namespace {

constexpr int patienceMs = 30'000;

} // namespace

InstallerOwner::InstallerOwner(const QString &address, bool isKilled)
    : m_isKilled(isKilled)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(qEnvironmentVariable("KDMX_INSTALLER_OWNER"),
                    {address, isKilled ? QStringLiteral("stay") : QString()});
}

InstallerOwner::~InstallerOwner()
{
    m_process.kill();
    m_process.waitForFinished();
}

QString InstallerOwner::installer()
{
    QByteArray told;
    const bool isTold =
        QTest::qWaitFor([&] { return (told += m_process.readAllStandardOutput()).endsWith('\n'); }, patienceMs);
    return isTold ? QString::fromUtf8(told.trimmed()) : QString();
}

void InstallerOwner::launch()
{
    m_process.write("go\n");
}

bool InstallerOwner::end()
{
    if (m_isKilled)
        m_process.kill();
    if (!QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }, patienceMs))
        return false;
    return m_isKilled ? m_process.exitStatus() == QProcess::CrashExit
                      : m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
}
