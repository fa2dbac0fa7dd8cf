#include "downloadfixture.h"

#include "updateinformationprobe.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

void DownloadFixture::initTestCase()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_settings.path()));
    QVERIFY(m_server.isRunning());
    QCOMPARE(UpdateInformationProbe::silenceLimit(), defaultSilenceLimit);
    QCOMPARE(UpdateInformationProbe::largestPackage(), defaultLargestPackage);
}

void DownloadFixture::init()
{
    ++m_case;
    UpdateInformationProbe::setSilenceLimit(defaultSilenceLimit);
    UpdateInformationProbe::setLargestPackage(defaultLargestPackage);
}

QStringList DownloadFixture::beginning(const QString &address, bool isExe)
{
    return {QStringLiteral("UpdateInformation: download ") + address,
            QStringLiteral("UpdateInformation: isExe %1, isDmg false")
                .arg(isExe ? QStringLiteral("true") : QStringLiteral("false")),
            started};
}

QStringList DownloadFixture::succeeding(const QString &address, qint64 size)
{
    return beginning(address)
        + QStringList{finished, QStringLiteral("UpdateInformation: tempDir TEMP"),
                      QStringLiteral("UpdateInformation: read size %1").arg(size),
                      QStringLiteral("UpdateInformation: exec TEMP\\temp.exe"), readied};
}

QStringList DownloadFixture::failing(const QString &address, const QString &error)
{
    return beginning(address) + QStringList{finished, errorFollows, error, failed};
}

QStringList DownloadFixture::unpacking(const QString &address)
{
    return beginning(address, false)
        + QStringList{finished, QStringLiteral("UpdateInformation: tempDir TEMP"),
                      QStringLiteral("UpdateInformation: read size 1000")};
}

QStringList DownloadFixture::cancelledByUser()
{
    return {cancelling, finished, errorFollows, cancelled, aborting, cancelled};
}

QStringList DownloadFixture::timedOut()
{
    return {QStringLiteral("UpdateInformation: timeout"),
            cancelling,
            finished,
            errorFollows,
            cancelled,
            failed,
            aborting,
            cancelled};
}

QList<int> DownloadFixture::percentagesIn(const QStringList &transcript)
{
    const QString prefix = QStringLiteral("-> progressValueChanged ");
    QList<int> found;
    for (const QString &line : transcript) {
        if (line.startsWith(prefix))
            found.append(line.mid(prefix.size()).toInt());
    }
    return found;
}

bool DownloadFixture::unpacks(UpdateInformation &information)
{
    return UpdateInformationProbe::process(information).state() == QProcess::Running;
}

bool DownloadFixture::fetched(InformationThread &information) const
{
    information.fetch(m_server.address(QStringLiteral("/document/not-json")));
    const bool came = information.waitFor(QStringLiteral("UpdateInformation: end of replyFinished"));
    information.forget();
    m_server.forgetRequests();
    return came;
}

/// Qt reports progress ten times a second at most: a piece that comes too soon after another goes unreported.
bool DownloadFixture::stepUntil(const std::function<bool()> &condition) const
{
    constexpr int attempts = 200;
    constexpr int untoldMs = 110;
    for (int i = 0; i < attempts; ++i) {
        m_server.step(first());
        if (QTest::qWaitFor(condition, untoldMs))
            return true;
    }
    return false;
}

QString DownloadFixture::stepped(const QString &path) const
{
    return m_server.address(path + QStringLiteral("?size=100000&pieces=1000&name=%1&as=a.exe").arg(first()));
}
