#include "probefixture.h"

#include "logonsession.h"
#include "singleinstanceid.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

ProbeFixture::ProbeFixture(QtSingleApplication &application)
    : m_application(application)
{
}

QString ProbeFixture::temporaryFolder()
{
    return QDir::tempPath() + QStringLiteral("/kdmxt-XXXXXX");
}

void ProbeFixture::initTestCase()
{
    m_ownRuntime = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
    QVERIFY2(QFileInfo(ProbeProcess::program()).isExecutable(), qUtf8Printable(ProbeProcess::program()));
}

void ProbeFixture::init()
{
    // The offscreen platform cannot raise windows and says so.
    QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support raise)")));
    m_runtime = std::make_unique<QTemporaryDir>(temporaryFolder());
    QVERIFY(m_runtime->isValid());
}

QString ProbeFixture::idOf(const QString &program)
{
    return singleInstanceId(program, logonSession());
}

ProbeFixture::Probe ProbeFixture::start(const QStringList &arguments, const QString &program) const
{
    return std::make_unique<ProbeProcess>(m_runtime->path(), arguments, program);
}

ProbeFixture::Probe ProbeFixture::startFirst(const QString &program) const
{
    Probe probe = start({}, program);
    if (!QTest::qWaitFor([&probe] { return probe->printed(QStringLiteral("first")); }, patience))
        qWarning("The probe did not become the first process.");
    return probe;
}
