#pragma once

#include "informationbox.h"
#include "updateinformation.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QObject>
#include <QString>

class QProgressBar;
class QPushButton;
class QThread;
class QWidget;

/**
 * The update service: fetches what the maker has published, shows news, offers newer software and firmware, and sees a
 * package through to its installer. Making one starts it; there is one fetch in its life.
 *
 * All windows speak the language of the default QLocale at construction; the news, and the edition of a package, follow
 * the default QLocale of the moment. What the user does not want to see again is kept in the panel's settings
 * (updatesettings.h).
 *
 * An owner makes one, calls checkFirm() once it knows the unit's firmware, and destroys it at any time: a download or
 * an open window ends with it. GUI thread; destruction waits for UpdateInformation::shutDown(), and with that
 * for an execFile() that blocks. Rests on Qt Widgets and updateinformation.h.
 */
class UpdateSoftware : public QObject
{
    Q_OBJECT

public:
    /// @param parent  owner, or null
    explicit UpdateSoftware(QObject *parent = nullptr);
    ~UpdateSoftware() override;

    /// Shows the news of the update entry, unless there are none or the user has asked not to see them again.
    void showInformation();

    /// Offers the published software if it is newer than this program and the user has not declined it for good.
    void checkSoftware();

    /**
     * Offers the published firmware if it is newer than the unit's. Does nothing before the question of the software
     * is settled, nor after that of the firmware is.
     *
     * @param unitName  product name as the unit tells it; units of another series are offered nothing
     * @param firmVer   version text such as "1.02", or "No Device"
     */
    void checkFirm(QString unitName, QString firmVer);

    /// Whether there was something to offer, shown or suppressed, and no question is open.
    bool updateOffered() const;

    /// Closes the offers and the news, and ends a download under way. Settles nothing.
    void closeDialogs();

    /**
     * Whether a published version is newer than a version text; see updateversions.h.
     *
     * @param now       version text such as "1.10"
     * @param netMajor  published major number in decimal
     * @param netMinor  published minor number in decimal, at least two digits
     */
    bool isNewerVersion(const QString &now, const QString &netMajor, const QString &netMinor) const;

Q_SIGNALS:
    /// The user has accepted an offer. @param url  address of the package
    void readiedDownloadFile(QString url);

    /// A download under way is to end.
    void stopDownload();

public Q_SLOTS:
    /// Takes the update-information document and acts on it. @param json  its text; anything is allowed
    void saveInformation(const QString &json);

    /// Shows the progress window.
    void openDownloadFileInfo();

    /// Closes the progress window.
    void closeDownloadFileInfo();

    /// Shows the completion window.
    void openExecWindow();

    /// Closes the completion window.
    void closeExecWindow();

    /// The user accepts the software.
    void decideClickedSoftware();

    /// The user accepts the firmware.
    void decideClickedFirmware();

    /// The user has read the news.
    void decideClickedInformation();

    /// The user wants the software later.
    void cancelSoftware();

    /// The user wants the firmware later.
    void cancelFirmware();

    /// The user ends the download.
    void cancelDownload();

    /// Shows the error box, and returns when it is closed; at once if it is open already. Settles all questions.
    void showMsgBoxError();

    /// Enables the progress window's Cancel button; the name's spelling is fixed. @param percent  not used
    void enableCanselButton(int percent);

private:
    friend class UpdateSoftwareProbe;

    void createBoxes();
    void connectDownload();
    void compareFirmware(const QString &now);
    void dropWindow();

    int languageIndex = 0;
    UpdateInformation information;
    QThread *worker = nullptr;
    QMessageBox errorBox;
    InformationBox softwareBox;
    InformationBox firmwareBox;
    InformationBox newsBox;
    QWidget *downloadWindow = nullptr;
    QPushButton *downloadButton = nullptr;
    QProgressBar *downloadBar = nullptr;
    QJsonDocument document;
    QJsonObject updateEntry;
    QString infoMessage;
    QString latestSoftwareVersion;
    QString latestFirmwareVersion;
    QString unitName;
    int updateStage = 0;
    bool errorBoxRuns = false;
};
