#pragma once

#include "updatesoftware.h"

/**
 * Looks inside an update service: what it shows, what it has decided, and its worker. For tests; changes nothing by
 * itself. GUI thread.
 */
class UpdateSoftwareProbe
{
public:
    explicit UpdateSoftwareProbe(UpdateSoftware &service)
        : m_service(service)
    {
    }

    InformationBox &softwareBox() const { return m_service.softwareBox; }
    InformationBox &firmwareBox() const { return m_service.firmwareBox; }
    InformationBox &newsBox() const { return m_service.newsBox; }
    QMessageBox &errorBox() const { return m_service.errorBox; }

    /// The progress or completion window, its button and its bar; null while there is none.
    QWidget *downloadWindow() const { return m_service.downloadWindow; }
    QPushButton *downloadButton() const { return m_service.downloadButton; }
    QProgressBar *downloadBar() const { return m_service.downloadBar; }

    /// The worker object; it lives in workerThread().
    UpdateInformation &information() const { return m_service.information; }
    QThread *workerThread() const { return m_service.worker; }

    int updateStage() const { return m_service.updateStage; }
    void setUpdateStage(int stage) const { m_service.updateStage = stage; }
    int languageIndex() const { return m_service.languageIndex; }
    QJsonObject updateEntry() const { return m_service.updateEntry; }
    QString infoMessage() const { return m_service.infoMessage; }
    QString latestSoftwareVersion() const { return m_service.latestSoftwareVersion; }
    QString latestFirmwareVersion() const { return m_service.latestFirmwareVersion; }
    QString unitName() const { return m_service.unitName; }

private:
    UpdateSoftware &m_service;
};
