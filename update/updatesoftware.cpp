#include "updatesoftware.h"

#include "downloadwindow.h"
#include "identity.h"
#include "newstext.h"
#include "updatefeed.h"
#include "updatesettings.h"
#include "updatetexts.h"
#include "updateversions.h"

#include <QCheckBox>
#include <QDebug>
#include <QLocale>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlockFormat>
#include <QTextBrowser>
#include <QTextCursor>
#include <QThread>

#include <utility>

using updatefeed::Product;
using updateversions::Published;

namespace {

/// How far the questions are.
enum Stage : int {
    SoftwareOpen = 0, ///< the software is offered or downloaded
    FirmwareOpen = 1, ///< the firmware is offered or downloaded
    SoftwareSettled = 2, ///< the firmware may be asked about
    AllSettled = 3,
};

// What a unit reports before it is there.
const QString noDevice = QStringLiteral("No Device");

// Units of the series bear this in their names.
constexpr qsizetype seriesLength = 5;

constexpr qsizetype shownVersionLength = 4;
constexpr double newsLineHeight = 18.0;

QDebug log()
{
    return qDebug().noquote();
}

/// The default locale may be changed while the panel runs; what is looked up follows it.
QLocale::Language currentLanguage()
{
    return QLocale().language();
}

void setUpOffer(InformationBox &box, const UpdateTextRow &texts)
{
    box.setWindowTitle(texts[UpdateTextTitle]);
    box.ui.okButton->setText(texts[UpdateTextAccept]);
    box.ui.noButton->setText(texts[UpdateTextDecline]);
    box.ui.dontShowCheckBox->setText(texts[UpdateTextDontShowAgain]);
}

void setUpNews(InformationBox &box, const UpdateTextRow &texts)
{
    box.setWindowTitle(texts[UpdateTextNewsTitle]);
    box.ui.okButton->setText(texts[UpdateTextOk]);
    box.ui.dontShowCheckBox->setText(texts[UpdateTextDontShowAgain]);
    box.ui.noButton->close();
    box.setWindowModality(Qt::ApplicationModal);
}

void setUpError(QMessageBox &box, const UpdateTextRow &texts)
{
    box.setIcon(QMessageBox::Warning);
    box.setWindowTitle(texts[UpdateTextTitle]);
    box.setTextFormat(Qt::RichText);
    box.setStandardButtons(QMessageBox::Ok);
    // The keyboard focus starts there, and not at the text, which can have it because of its link.
    box.setDefaultButton(QMessageBox::Ok);
    box.setText(texts[UpdateTextError]);
    // The box opens its links in the browser; by itself it lets only the mouse reach them.
    box.setTextInteractionFlags(Qt::TextBrowserInteraction);
}

void logComparison(const char *product, const QString &now, const Published &net)
{
    const QString prefix = QStringLiteral("UpdateSoftware: ") + QString::fromLatin1(product);
    log() << prefix + QStringLiteral(" nowMajor") << updateversions::majorOf(now);
    log() << prefix + QStringLiteral(" nowMinor") << updateversions::minorOf(now);
    log() << prefix + QStringLiteral(" netMajor") << updateversions::publishedMajor(net.major);
    log() << prefix + QStringLiteral(" netMinor") << updateversions::publishedMinor(net.minor);
}

void showOffer(InformationBox &box, const UpdateTextRow &texts, UpdateText headline, const QString &now,
               const QString &latest)
{
    const QString lineBreak = QStringLiteral("<br>");
    // The unit may send anything as its version.
    const QString shownNow = now.left(shownVersionLength).toHtmlEscaped();
    box.ui.textMessage->setText(texts[headline] + lineBreak + texts[UpdateTextCurrentVersion] + shownNow + lineBreak
                                + texts[UpdateTextLatestVersion] + latest);
    box.show();
}

void setNews(QTextBrowser &browser, const QString &message)
{
    browser.setText(QStringLiteral(" "));
    QTextCursor cursor(browser.document());
    QTextBlockFormat format;
    format.setLineHeight(newsLineHeight, QTextBlockFormat::FixedHeight);
    cursor.setBlockFormat(format);
    cursor.insertBlock();
    cursor.insertHtml(newstext::shown(message));
    cursor.movePosition(QTextCursor::Start);
    cursor.deleteChar();
    browser.setTextCursor(cursor);
}

void showNews(InformationBox &box, const QString &message)
{
    setNews(*box.ui.textMessage, message);
    box.show();
    QScrollBar *const scrollBar = box.ui.textMessage->verticalScrollBar();
    scrollBar->setValue(scrollBar->minimum());
}

} // namespace

UpdateSoftware::UpdateSoftware(QObject *parent)
    : QObject(parent)
    , worker(new QThread)
{
    information.moveToThread(worker);
    connect(&information, &UpdateInformation::finishedInformation, this, &UpdateSoftware::saveInformation);
    // What the worker holds belongs to its thread, and ends there.
    connect(worker, &QThread::finished, &information, &UpdateInformation::shutDown, Qt::DirectConnection);
    worker->start(QThread::InheritPriority);
    QMetaObject::invokeMethod(&information, &UpdateInformation::downloadInformation);

    languageIndex = updateTextRow(currentLanguage());
    createBoxes();
    connectDownload();
}

UpdateSoftware::~UpdateSoftware()
{
    log() << "UpdateSoftware: end";
    worker->requestInterruption(); // ends the saving of a package, which knows no event loop
    worker->exit(0);
    worker->wait();
    delete worker;
    delete downloadWindow;
}

void UpdateSoftware::createBoxes()
{
    const UpdateTextRow &texts = updateTexts[languageIndex];
    setUpOffer(softwareBox, texts);
    connect(softwareBox.ui.okButton, &QPushButton::clicked, this, &UpdateSoftware::decideClickedSoftware);
    connect(softwareBox.ui.noButton, &QPushButton::clicked, this, &UpdateSoftware::cancelSoftware);

    setUpOffer(firmwareBox, texts);
    connect(firmwareBox.ui.okButton, &QPushButton::clicked, this, &UpdateSoftware::decideClickedFirmware);
    connect(firmwareBox.ui.noButton, &QPushButton::clicked, this, &UpdateSoftware::cancelFirmware);

    setUpNews(newsBox, texts);
    connect(newsBox.ui.okButton, &QPushButton::clicked, this, &UpdateSoftware::decideClickedInformation);

    setUpError(errorBox, texts);
    connect(&information, &UpdateInformation::errorDownloadFile, this, &UpdateSoftware::showMsgBoxError);
}

void UpdateSoftware::connectDownload()
{
    connect(this, &UpdateSoftware::readiedDownloadFile, &information, &UpdateInformation::downloadFile);
    connect(&information, &UpdateInformation::startedDownloadFile, this, &UpdateSoftware::openDownloadFileInfo);
    connect(&information, &UpdateInformation::finishedDownloadFile, this, &UpdateSoftware::closeDownloadFileInfo);
    connect(this, &UpdateSoftware::stopDownload, &information, &UpdateInformation::cancelDownload);
    connect(&information, &UpdateInformation::readiedExec, this, &UpdateSoftware::openExecWindow);
}

// ---- What is published, and what of it is offered -------------------------------------------------------------------

void UpdateSoftware::saveInformation(const QString &json)
{
    document = QJsonDocument::fromJson(json.toUtf8());
    updateEntry = updatefeed::entryOf(document);
    showInformation();
    checkSoftware();
}

void UpdateSoftware::showInformation()
{
    infoMessage = updatefeed::news(updateEntry, currentLanguage());
    if (infoMessage.isEmpty() || updatesettings::read(updatesettings::infoDialog) == infoMessage)
        return;
    if (languageIndex == updateTextRow(QLocale::Japanese))
        newsBox.ui.textMessage->setStyleSheet(QStringLiteral("color: white; font: 11pt"));
    showNews(newsBox, infoMessage);
}

void UpdateSoftware::checkSoftware()
{
    updateStage = SoftwareOpen;
    const QString now = identity::version;
    const Published net = updatefeed::publishedVersion(updateEntry, Product::Software);
    logComparison("Sofware", now, net); // The misspelling is part of the log format; keep it.
    if (!isNewerVersion(now, net.major, net.minor)) {
        log() << "UpdateSoftware: Software update none";
        updateStage = SoftwareSettled;
        return;
    }
    log() << "UpdateSoftware: Software update start";
    latestSoftwareVersion = updateversions::text(net);
    const QString declined = updatesettings::read(updatesettings::softDialog);
    if (updateversions::isSuppressed(declined, net)) {
        log() << "UpdateSoftware: Software update Dialog: not displayed: ini ==" << declined;
        updateStage = SoftwareSettled;
        return;
    }
    showOffer(softwareBox, updateTexts[languageIndex], UpdateTextSoftwareHeadline, now, latestSoftwareVersion);
}

void UpdateSoftware::checkFirm(QString unit, QString firmVer)
{
    unitName = std::move(unit);
    if (updateEntry.isEmpty()) {
        log() << "UpdateSoftware: checkFirm jObj none";
        return;
    }
    if (updateStage != SoftwareSettled || !unitName.contains(identity::applicationName.left(seriesLength)))
        return;
    if (firmVer == noDevice) {
        log() << "UpdateSoftware: checkFirm firmVer is No Device:" << firmVer;
        return;
    }
    if (firmVer.isEmpty() || !firmVer.front().isDigit()) {
        log() << "UpdateSoftware: checkFirm NowFirmwareVersion not match:" << firmVer;
        return;
    }
    compareFirmware(firmVer);
}

void UpdateSoftware::compareFirmware(const QString &now)
{
    const Published net = updatefeed::publishedVersion(updateEntry, Product::Firmware);
    logComparison("Firmware", now, net);
    if (!isNewerVersion(now, net.major, net.minor)) {
        log() << "UpdateSoftware: Firmware update none";
        updateStage = AllSettled;
        return;
    }
    log() << "UpdateSoftware: Firmware update start";
    latestFirmwareVersion = updateversions::text(net);
    const QString declined = updatesettings::read(updatesettings::firmDialog);
    if (updateversions::isSuppressed(declined, net)) {
        log() << "UpdateSoftware: Firmware update Dialog: not displayed: ini==" << declined;
        updateStage = AllSettled;
        return;
    }
    updateStage = FirmwareOpen;
    showOffer(firmwareBox, updateTexts[languageIndex], UpdateTextFirmwareHeadline, now, latestFirmwareVersion);
}

bool UpdateSoftware::isNewerVersion(const QString &now, const QString &netMajor, const QString &netMinor) const
{
    return updateversions::isNewer(now, netMajor, netMinor);
}

bool UpdateSoftware::updateOffered() const
{
    return (updateStage == SoftwareSettled || updateStage == AllSettled)
        && (!latestSoftwareVersion.isEmpty() || !latestFirmwareVersion.isEmpty());
}

// ---- The user's answers. A signal comes last in each: the owner may destroy this object when it comes. --------------

void UpdateSoftware::closeDialogs()
{
    softwareBox.close();
    firmwareBox.close();
    newsBox.close();
    Q_EMIT stopDownload();
}

void UpdateSoftware::decideClickedSoftware()
{
    softwareBox.close();
    updateStage = SoftwareOpen;
    Q_EMIT readiedDownloadFile(updatefeed::packageUrl(updateEntry, Product::Software, currentLanguage()));
}

void UpdateSoftware::decideClickedFirmware()
{
    firmwareBox.close();
    updateStage = FirmwareOpen;
    Q_EMIT readiedDownloadFile(updatefeed::packageUrl(updateEntry, Product::Firmware, currentLanguage()));
}

void UpdateSoftware::decideClickedInformation()
{
    newsBox.close();
    if (newsBox.ui.dontShowCheckBox->isChecked())
        updatesettings::write(updatesettings::infoDialog, infoMessage);
}

void UpdateSoftware::cancelSoftware()
{
    updateStage = SoftwareSettled;
    softwareBox.close();
    log() << "UpdateSoftware: Software update cancel";
    if (softwareBox.ui.dontShowCheckBox->isChecked()) {
        log() << "UpdateSoftware: softCheckBox = Checked";
        updatesettings::write(updatesettings::softDialog, latestSoftwareVersion);
    }
}

void UpdateSoftware::cancelFirmware()
{
    updateStage = AllSettled;
    firmwareBox.close();
    log() << "UpdateSoftware: Firmware update cancel";
    if (firmwareBox.ui.dontShowCheckBox->isChecked()) {
        log() << "UpdateSoftware: firmCheckBox = Checked";
        updatesettings::write(updatesettings::firmDialog, latestFirmwareVersion);
    }
}

void UpdateSoftware::cancelDownload()
{
    updateStage = AllSettled;
}

// ---- The windows beside a download ----------------------------------------------------------------------------------

void UpdateSoftware::openDownloadFileInfo()
{
    log() << "UpdateSoftware: Now downloading...";
    dropWindow();
    const downloadwindow::Parts parts = downloadwindow::createProgress(updateTexts[languageIndex]);
    downloadWindow = parts.window;
    downloadButton = parts.button;
    downloadBar = parts.bar;
    connect(downloadButton, &QPushButton::clicked, this, &UpdateSoftware::cancelDownload);
    connect(downloadButton, &QPushButton::clicked, &information, &UpdateInformation::cancelDownload);
    connect(&information, &UpdateInformation::progressValueChanged, downloadBar, &QProgressBar::setValue);
    connect(&information, &UpdateInformation::progressValueChanged, this, &UpdateSoftware::enableCanselButton);
    downloadWindow->show();
}

void UpdateSoftware::enableCanselButton(int)
{
    // Progress may still arrive after the window has closed.
    if (downloadButton != nullptr)
        downloadButton->setEnabled(true);
}

void UpdateSoftware::closeDownloadFileInfo()
{
    log() << "UpdateSoftware: End of downloading";
    if (downloadBar != nullptr)
        dropWindow();
}

void UpdateSoftware::openExecWindow()
{
    dropWindow();
    const downloadwindow::Parts parts = downloadwindow::createCompletion(updateTexts[languageIndex]);
    downloadWindow = parts.window;
    downloadButton = parts.button;
    connect(downloadButton, &QPushButton::clicked, &information, &UpdateInformation::execFile);
    connect(downloadButton, &QPushButton::clicked, this, &UpdateSoftware::closeExecWindow);
    downloadWindow->show();
}

void UpdateSoftware::closeExecWindow()
{
    if (downloadBar == nullptr)
        dropWindow();
}

/// Undoes the connections of the window, whichever it is, and closes and deletes it.
void UpdateSoftware::dropWindow()
{
    if (downloadWindow == nullptr)
        return;
    downloadButton->disconnect(this);
    downloadButton->disconnect(&information);
    if (downloadBar != nullptr) {
        information.disconnect(downloadBar);
        disconnect(&information, &UpdateInformation::progressValueChanged, this, &UpdateSoftware::enableCanselButton);
    }
    downloadButton = nullptr;
    downloadBar = nullptr;
    downloadWindow->close();
    // Later: a click of its own button may be what closes it.
    std::exchange(downloadWindow, nullptr)->deleteLater();
}

void UpdateSoftware::showMsgBoxError()
{
    updateStage = AllSettled;
    // An error may come while the box is open for another.
    if (std::exchange(errorBoxRuns, true))
        return;
    // The owner may destroy this object, and the box with it, while the box is open.
    const QPointer<UpdateSoftware> self(this);
    errorBox.exec();
    if (!self.isNull())
        self->errorBoxRuns = false;
}
