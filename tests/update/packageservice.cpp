#include "packageservice.h"

#include "updateinformation.h"

#include <QCoreApplication>
#include <QTest>

namespace {

constexpr int patienceMs = 30'000;

} // namespace

PackageService::PackageService()
    : m_information(std::make_unique<UpdateInformation>())
{
    const auto note = [this](const QString &event) { return [this, event] { m_events.append(event); }; };
    UpdateInformation *const information = m_information.get();
    information->moveToThread(&m_thread);
    connect(information, &UpdateInformation::finishedInformation, this, [this] { ++m_documents; });
    connect(information, &UpdateInformation::startedDownloadFile, this, note(QStringLiteral("started")));
    connect(information, &UpdateInformation::finishedDownloadFile, this, note(QStringLiteral("finished")));
    connect(information, &UpdateInformation::errorDownloadFile, this, note(QStringLiteral("error")));
    connect(information, &UpdateInformation::readiedExec, this, note(QStringLiteral("ready")));
    connect(information, &UpdateInformation::progressValueChanged, this,
            [this](int percent) { m_progress.append(percent); });
    connect(&m_thread, &QThread::finished, information, &UpdateInformation::shutDown, Qt::DirectConnection);
    m_thread.start();
}

PackageService::~PackageService()
{
    m_thread.requestInterruption();
    m_thread.exit(0);
    m_thread.wait();
}

bool PackageService::fetch()
{
    QMetaObject::invokeMethod(m_information.get(), &UpdateInformation::downloadInformation);
    if (!QTest::qWaitFor([this] { return m_documents > 0; }, patienceMs))
        return false;
    // The slot that announced it has still a line to log.
    settle();
    return true;
}

void PackageService::download(const QString &url)
{
    QMetaObject::invokeMethod(m_information.get(), [this, url] { m_information->downloadFile(url); });
}

void PackageService::cancel()
{
    QMetaObject::invokeMethod(m_information.get(), &UpdateInformation::cancelDownload);
}

void PackageService::launch()
{
    QMetaObject::invokeMethod(m_information.get(), &UpdateInformation::execFile);
}

void PackageService::findMounted(int exitCode, bool hasCrashed)
{
    const auto status = hasCrashed ? QProcess::CrashExit : QProcess::NormalExit;
    QMetaObject::invokeMethod(m_information.get(),
                              [this, exitCode, status] { m_information->replyFinishedMount(exitCode, status); });
}

void PackageService::settle()
{
    QMetaObject::invokeMethod(
        m_information.get(), [] {}, Qt::BlockingQueuedConnection);
    QCoreApplication::sendPostedEvents(this);
}
