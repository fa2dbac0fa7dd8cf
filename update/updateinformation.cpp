#include "updateinformation.h"

#include "boundedreply.h"
#include "installer.h"
#include "packagefile.h"
#include "unzipscript.h"
#include "updatesettings.h"
#include "webpages.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr int silenceLimit = 60'000;
constexpr qint64 packageLimit = 2'147'483'648;
constexpr qint64 documentLimit = 104'857'600;
constexpr int killPatienceMs = 1000;

const QString scriptName = QStringLiteral("unzip.js");

// How long a mounted disk image may take to appear.
constexpr int mountAttempts = 5;
constexpr unsigned long mountPauseMs = 100;

QDebug log()
{
    return qDebug().noquote();
}

QString flag(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString backslashed(const QString &path)
{
    return QString(path).replace(u'/', u'\\');
}

QString documentAddress()
{
    const QString address = updatesettings::read(updatesettings::jsonUrl);
    return address.isEmpty() ? webpages::updateInformation().toString() : address;
}

} // namespace

int UpdateInformation::silenceLimitMs = silenceLimit;
qint64 UpdateInformation::largestPackage = packageLimit;
qint64 UpdateInformation::largestDocument = documentLimit;

UpdateInformation::UpdateInformation(QObject *parent)
    : QObject(parent)
    , process(this) // A child moves to the worker's thread with its parent.
{
}

UpdateInformation::~UpdateInformation()
{
    if (!isShutDown)
        shutDown();
}

void UpdateInformation::shutDown()
{
    forgetDownload();
    delete std::exchange(manager, nullptr);
    isShutDown = true;
}

// ---- The document ---------------------------------------------------------------------------------------------------

void UpdateInformation::downloadInformation()
{
    if (manager != nullptr)
        return;
    log() << "UpdateInformation: start download json";
    isShutDown = false;
    manager = new QNetworkAccessManager;
    const QString address = documentAddress();
    log() << "UpdateInformation:" << address;
    connect(manager, &QNetworkAccessManager::finished, this, &UpdateInformation::replyFinishedInfo);
    QNetworkReply *const document = manager->get(QNetworkRequest(QUrl(address)));
    // There is no time limit: a document without an end would never finish. Once aborted, it ends like one that failed.
    const auto refuse = [document] {
        if (boundedreply::isUnderWay(*document))
            document->abort();
    };
    const auto end = [this, document] {
        replyFinishedInfo(document);
        document->deleteLater();
    };
    boundedreply::watch(document, largestDocument, this, {refuse, end});
}

void UpdateInformation::replyFinishedInfo(QNetworkReply *informationReply)
{
    if (informationReply->request().originatingObject() == this) {
        // A package has overtaken the document.
        replyFinishedFileDownload(informationReply);
        return;
    }
    // From here on, all that the manager fetches are packages.
    disconnect(manager, &QNetworkAccessManager::finished, this, &UpdateInformation::replyFinishedInfo);
    connect(manager, &QNetworkAccessManager::finished, this, &UpdateInformation::replyFinishedFileDownload);
    // "jason" and "dwonload" are part of the log's format: who reads logs looks for them.
    if (informationReply->error() != QNetworkReply::NoError) {
        log() << "UpdateInformation: jason dwonload error";
        log() << informationReply->errorString();
    } else if (informationReply->bytesAvailable() > largestDocument) {
        log() << "UpdateInformation: jason dwonload error";
        log() << "UpdateInformation: document too large";
    } else {
        log() << "UpdateInformation: jason dwonload ok" << informationReply->bytesAvailable();
        const QString text = QString::fromUtf8(informationReply->readAll());
        log() << text;
        Q_EMIT finishedInformation(text);
    }
    log() << "UpdateInformation: end of replyFinished";
}

// ---- A package: download --------------------------------------------------------------------------------------------

void UpdateInformation::downloadFile(const QString &url)
{
    forgetDownload();
    log() << "UpdateInformation: download" << url;
    isExe = url.endsWith(QStringLiteral("exe"), Qt::CaseInsensitive);
    isDmg = url.endsWith(QStringLiteral("dmg"), Qt::CaseInsensitive);
    log().nospace() << "UpdateInformation: isExe " << flag(isExe) << ", isDmg " << flag(isDmg);
    if (manager == nullptr) {
        // Nobody has fetched a document, so nobody can know of a package.
        Q_EMIT errorDownloadFile();
        return;
    }

    timer = new QTimer;
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, this, &UpdateInformation::timeoutDownload);
    timer->start(silenceLimitMs);
    timedOut = false;
    tooLarge = false;

    QNetworkRequest request{QUrl(url)};
    request.setOriginatingObject(this); // distinguishes it from the document
    reply = manager->get(request);
    connect(reply, &QNetworkReply::downloadProgress, this, &UpdateInformation::replyDownloadProgress);
    boundedreply::watch(reply, largestPackage, this,
                        {[this] { refusePackage(); }, [this, package = reply] { replyFinishedFileDownload(package); }});
    Q_EMIT startedDownloadFile();
}

void UpdateInformation::replyDownloadProgress(qint64 received, qint64 total)
{
    if (total == 0 || reply == nullptr)
        return;
    // For an unknown total (-1) this is a negative number that grows without end.
    using Limits = std::numeric_limits<int>;
    const int percent = static_cast<int>(std::clamp<qint64>(received * 100 / total, Limits::min(), Limits::max()));
    log() << "UpdateInformation: ProgressBar" << percent;
    Q_EMIT progressValueChanged(percent);
    if (timer != nullptr)
        timer->start(silenceLimitMs);
}

/// Ends the download of a package that is too large, once: aborting reports progress again.
void UpdateInformation::refusePackage()
{
    if (tooLarge)
        return;
    log() << "UpdateInformation: package too large";
    tooLarge = true;
    cancelDownload();
}

void UpdateInformation::timeoutDownload()
{
    log() << "UpdateInformation: timeout";
    timedOut = true;
    cancelDownload();
}

void UpdateInformation::cancelDownload()
{
    log() << "UpdateInformation: cancel download";
    // Aborting ends the download within the call, so the member is gone afterwards.
    if (QNetworkReply *const aborted = reply; aborted != nullptr && boundedreply::isUnderWay(*aborted)) {
        aborted->abort();
        log() << "UpdateInformation: file download abort";
        log() << aborted->errorString();
    }
}

void UpdateInformation::stopTimer()
{
    if (timer == nullptr)
        return;
    timer->stop();
    timer->disconnect(this);
    // It may be its own time-out that ends the download.
    std::exchange(timer, nullptr)->deleteLater();
}

/// Leaves a download or an unpacking under way, so that nothing more is heard of it.
void UpdateInformation::forgetDownload()
{
    stopTimer();
    if (QNetworkReply *const forgotten = std::exchange(reply, nullptr)) {
        forgotten->disconnect(this);
        if (boundedreply::isUnderWay(*forgotten))
            forgotten->abort();
        forgotten->deleteLater();
    }
    process.disconnect(this);
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(killPatienceMs);
    }
    if (tempDir != nullptr)
        endUnpacking();
    execPath.clear();
}

// ---- A package: file and unpacking ----------------------------------------------------------------------------------

void UpdateInformation::replyFinishedFileDownload(QNetworkReply *finished)
{
    // Ignore a download that a newer one has replaced.
    if (finished == nullptr || finished != reply)
        return;
    reply = nullptr;
    // After an abort Qt reports progress once more, which is not that of the next download.
    finished->disconnect(this);
    finished->deleteLater();
    Q_EMIT finishedDownloadFile();
    stopTimer();

    if (finished->error() != QNetworkReply::NoError) {
        log() << "UpdateInformation: file download error";
        log() << finished->errorString();
        const bool byUser = finished->error() == QNetworkReply::OperationCanceledError && !timedOut && !tooLarge;
        if (!byUser)
            Q_EMIT errorDownloadFile();
        return;
    }
    if (finished->bytesAvailable() == 0) {
        log() << "UpdateInformation: file download size zero";
        Q_EMIT errorDownloadFile();
        return;
    }
    if (tooLarge || finished->bytesAvailable() > largestPackage) {
        if (!tooLarge)
            log() << "UpdateInformation: package too large";
        Q_EMIT errorDownloadFile();
        return;
    }
    if (!makeFolder() || !savePackage(*finished) || !ready()) {
        delete std::exchange(tempDir, nullptr);
        Q_EMIT errorDownloadFile();
    }
}

/// Makes the folder for the package and goes there; it is never removed, for the installer outlives the panel.
bool UpdateInformation::makeFolder()
{
    // Without a place for temporary files the folder would be made at the top of the file system.
    if (QDir::tempPath().isEmpty()) {
        log() << "UpdateInformation: file open error";
        return false;
    }
    tempDir = new QTemporaryDir;
    tempDir->setAutoRemove(false);
    log() << "UpdateInformation: tempDir" << tempDir->path();
    if (tempDir->isValid() && QDir::setCurrent(tempDir->path()))
        return true;
    log() << "UpdateInformation: file open error";
    return false;
}

// Files are named by their full paths: the current folder belongs to the whole process, and somebody else may change
// it.

bool UpdateInformation::savePackage(QNetworkReply &package)
{
    const packagefile::Outcome outcome = packagefile::save(
        package, packagePath(), [&package] { log() << "UpdateInformation: read size" << package.bytesAvailable(); });
    if (outcome == packagefile::Outcome::NotOpened)
        log() << "UpdateInformation: file open error";
    if (outcome == packagefile::Outcome::NotWritten)
        log() << "UpdateInformation: file write error";
    return outcome == packagefile::Outcome::Saved;
}

QString UpdateInformation::packagePath() const
{
    const QString name = isExe ? QStringLiteral("temp.exe")
        : isDmg                ? QStringLiteral("temp.dmg")
                               : QStringLiteral("temp.zip");
    return tempDir->filePath(name);
}

/// An installer is ready as it is; anything else is unpacked first, disk images included, which fails for them.
bool UpdateInformation::ready()
{
    if (!isExe)
        return unpack();
    execPath = backslashed(tempDir->path()) + QStringLiteral("\\temp.exe");
    log() << "UpdateInformation: exec" << execPath;
    delete std::exchange(tempDir, nullptr);
    Q_EMIT readiedExec();
    return true;
}

bool UpdateInformation::unpack()
{
    // An earlier host that could not even be killed is in the way.
    if (process.state() != QProcess::NotRunning) {
        log() << "UpdateInformation: script host not started";
        QFile::remove(packagePath());
        return false;
    }
    if (packagefile::saveText(QByteArray(unzipScript), tempDir->filePath(scriptName)) != packagefile::Outcome::Saved) {
        log() << "UpdateInformation: file open error";
        QFile::remove(packagePath());
        return false;
    }
    connect(&process, &QProcess::finished, this, &UpdateInformation::replyFinishedUnzip);
    // A script host that cannot be started never finishes.
    connect(&process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            log() << "UpdateInformation: script host not started";
            endUnpacking();
            Q_EMIT errorDownloadFile();
        }
    });
    const QString folder = backslashed(tempDir->path());
    process.setWorkingDirectory(tempDir->path());
    process.start(QStringLiteral("cscript"), {scriptName, folder + QStringLiteral("\\temp.zip"), folder});
    return true;
}

/// Clears away what the script host needed, and gives the folder's path.
QString UpdateInformation::endUnpacking()
{
    QFile::remove(tempDir->filePath(scriptName));
    QFile::remove(tempDir->filePath(QStringLiteral("temp.zip")));
    process.disconnect(this);
    process.setWorkingDirectory({});
    const QString folder = tempDir->path();
    delete std::exchange(tempDir, nullptr);
    return folder;
}

void UpdateInformation::replyFinishedUnzip(int, QProcess::ExitStatus exitStatus)
{
    if (tempDir == nullptr)
        return;
    const QDir folder(endUnpacking());
    if (exitStatus == QProcess::CrashExit) {
        log() << "UpdateInformation: CrashExit";
        Q_EMIT errorDownloadFile();
        return;
    }
    const QFileInfoList installers = folder.entryInfoList({QStringLiteral("*.exe")}, QDir::Files, QDir::Unsorted);
    if (installers.isEmpty()) {
        log() << "UpdateInformation: no installer in the package";
        Q_EMIT errorDownloadFile();
        return;
    }
    execPath = installers.constFirst().absoluteFilePath();
    log() << "UpdateInformation: exec/dmg" << execPath;
    Q_EMIT readiedExec();
}

// ---- The installer --------------------------------------------------------------------------------------------------

void UpdateInformation::execFile()
{
    // Detached: a process that is merely started would end together with the object.
    process.setProgram(installerProgram(execPath));
    process.setArguments({});
    if (!process.startDetached()) {
        log() << "UpdateInformation: installer not started";
        Q_EMIT errorDownloadFile();
    }
}

void UpdateInformation::replyFinishedMount(int, QProcess::ExitStatus exitStatus)
{
    log() << "UpdateInformation: replyFinishedMount";
    if (exitStatus == QProcess::CrashExit) {
        log() << "UpdateInformation: CrashExit";
        Q_EMIT errorDownloadFile();
        return;
    }
    const QString package = QStringLiteral("/Volumes/CorvoMixer_Installer/CorvoMixer_Installer.pkg");
    const QString application = QStringLiteral("/Volumes/dmg/corvo9_firmware.app");
    const auto isThere = [](const QString &path) { return QFileInfo::exists(path); };
    for (int attempt = 0; attempt < mountAttempts && !isThere(package) && !isThere(application); ++attempt) {
        log() << "UpdateInformation: replyFinishedMount: sleep" << attempt;
        QThread::msleep(mountPauseMs);
    }
    const QString open = QStringLiteral("open");
    if (isThere(package)) {
        log() << "UpdateInformation: replyFinishedMount: software update";
        QProcess::startDetached(open, {QStringLiteral("/System/Library/CoreServices/installer.app"), package});
    } else if (isThere(application)) {
        log() << "UpdateInformation: replyFinishedMount: firmware update";
        QProcess::startDetached(open, {application});
    }
}
