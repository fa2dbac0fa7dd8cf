#pragma once

#include "updatesoftware.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

/// The unit that is played.
struct PlayedUnit
{
    QString name;
    QString firmware;
};

/**
 * Owns the update service as a program would: asks about the firmware once the software question is settled, and ends
 * the event loop when there is nothing left to see or to wait for, or it is interrupted. GUI thread.
 */
class LiveRun : public QObject
{
    Q_OBJECT

public:
    /// @param unit  asked about; none: there is no unit
    explicit LiveRun(std::optional<PlayedUnit> unit);
    ~LiveRun() override;
    Q_DISABLE_COPY_MOVE(LiveRun)

    /// Why the document could not be fetched; none if it could, or still can.
    std::optional<QString> fetchError() const { return m_fetchError; }

    /// Whether a window has been on the screen.
    bool hasShown() const { return m_hasShown; }

    /// Whether an installer has been started.
    bool hasInstalled() const { return m_hasInstalled; }

Q_SIGNALS:
    /// The service has written a line. @param line  emitted in the thread that writes it
    void logged(const QString &line);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void hear(const QString &line);
    void noteShown(const QWidget &window);
    void noteStart();
    void askAboutFirmware();
    void lookAround();
    void watchInterrupts();

    std::optional<PlayedUnit> m_unit;
    QString m_lastLine; ///< that the service has written
    std::optional<QString> m_fetchError;
    bool m_isFetched = false;
    bool m_isDownloading = false;
    bool m_hasShown = false;
    bool m_hasInstalled = false;
    bool m_isStarting = false; ///< the worker has been asked to start the installer
    std::unique_ptr<UpdateSoftware> m_service;
};
