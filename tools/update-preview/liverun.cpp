#include "liverun.h"

#include "interrupts.h"
#include "servicelog.h"
#include "servicewindows.h"

#include <QApplication>
#include <QEvent>
#include <QPushButton>
#include <QTimer>

#include <utility>

namespace {

constexpr int interruptPollMs = 100;

// The service reports these in its log only.
const QString fetchFailed = QStringLiteral("UpdateInformation: jason dwonload error");
const QString startFailed = QStringLiteral("UpdateInformation: installer not started");
const QString fetchEnded = QStringLiteral("UpdateInformation: end of replyFinished");
const QString downloadAborted = QStringLiteral("UpdateInformation: file download abort");
const QString cancelReached = QStringLiteral("UpdateInformation: cancel download");

} // namespace

LiveRun::LiveRun(std::optional<PlayedUnit> unit)
    : m_unit(std::move(unit))
{
    // Between two windows there is none, yet the run is not over.
    QApplication::setQuitOnLastWindowClosed(false);
    qApp->installEventFilter(this);
    watchInterrupts();
    // Lines come from two threads. When a queued line arrives, the service has done what belongs to it.
    connect(this, &LiveRun::logged, this, &LiveRun::hear, Qt::QueuedConnection);
    servicelog::show([this](const QString &line) { Q_EMIT logged(line); });
    m_service = std::make_unique<UpdateSoftware>();
    connect(m_service.get(), &UpdateSoftware::readiedDownloadFile, this, [this] { m_isDownloading = true; });
}

LiveRun::~LiveRun()
{
    qApp->removeEventFilter(this);
    m_service.reset();
    servicelog::silence();
}

void LiveRun::hear(const QString &line)
{
    // The reason follows on a line of its own.
    if (std::exchange(m_lastLine, line) == fetchFailed)
        m_fetchError = line;
    else if (line == fetchEnded)
        m_isFetched = true;
    else if (line == downloadAborted)
        m_isDownloading = false;
    else if (line == cancelReached && m_isStarting)
        m_isStarting = false;
    else if (line == startFailed)
        m_hasInstalled = false;
    else
        return;
    lookAround();
}

bool LiveRun::eventFilter(QObject *watched, QEvent *event)
{
    const bool isShown = event->type() == QEvent::Show;
    const bool isHidden = event->type() == QEvent::Hide;
    if ((isShown || isHidden) && watched->isWidgetType()) {
        const auto *const widget = static_cast<const QWidget *>(watched);
        if (widget->isWindow() && isShown)
            noteShown(*widget);
        else if (widget->isWindow())
            QMetaObject::invokeMethod(this, &LiveRun::lookAround, Qt::QueuedConnection);
    }
    return QObject::eventFilter(watched, event);
}

void LiveRun::noteShown(const QWidget &window)
{
    m_hasShown = true;
    // Whatever comes after the progress window, a box or the completion, is the end of the download.
    if (!servicewindows::isProgress(window))
        m_isDownloading = false;
    if (servicewindows::isCompletion(window))
        connect(window.findChild<QPushButton *>(), &QPushButton::clicked, this, &LiveRun::noteStart);
}

void LiveRun::noteStart()
{
    m_hasInstalled = true;
    m_isStarting = true;
    // The worker starts the installer. This goes the same way after that request, and its line shows that both have
    // arrived; to end before that would be too early.
    Q_EMIT m_service->stopDownload();
}

void LiveRun::askAboutFirmware()
{
    if (!m_unit || servicewindows::offer() != nullptr)
        return;
    const PlayedUnit unit = *std::exchange(m_unit, std::nullopt);
    m_service->checkFirm(unit.name, unit.firmware);
}

void LiveRun::lookAround()
{
    if (!m_isFetched || m_isDownloading || m_isStarting)
        return;
    askAboutFirmware();
    if (servicewindows::shown().isEmpty())
        QApplication::quit();
}

void LiveRun::watchInterrupts()
{
    auto *const poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, [] {
        // A window could object to quit().
        if (interrupts::haveCome())
            QApplication::exit();
    });
    poll->start(interruptPollMs);
}
