#pragma once

#include <QObject>
#include <QProcess>
#include <QString>

#include <atomic>

class QNetworkAccessManager;
class QNetworkReply;
class QTemporaryDir;
class QTimer;

/**
 * Fetches the update-information document, and downloads, unpacks and starts packages.
 *
 * Lives in a thread of its own with an event loop; UpdateSoftware owns both. Call its slots by queued calls; its
 * signals are delivered queued. Call shutDown() in that thread before it ends.
 *
 * Each downloadFile() has at most one outcome: readiedExec() or errorDownloadFile(); none after the user's cancel or
 * shutDown(), nor while a script host hangs. A further downloadFile() replaces the one under way, which then reports
 * nothing more.
 *
 * Only TLS is trusted: an address that begins with https is never followed to http, and an invalid certificate ends the
 * fetch or the download. A document of more than 100 MiB and a package of more than 2 GiB are refused.
 *
 * Rests on QNetworkAccessManager (Qt Network), QProcess and QTemporaryDir (Qt Core).
 */
class UpdateInformation : public QObject
{
    Q_OBJECT

public:
    /// @param parent  owner in the same thread, or null; an object that has one cannot be moved to another thread
    explicit UpdateInformation(QObject *parent = nullptr);

    /// Ends what is left; see shutDown().
    ~UpdateInformation() override;

    /**
     * Ends whatever is under way: a fetch, a download, a script host. Emits nothing. An installer that was started goes
     * on.
     *
     * Blocks for up to 1 s while a script host ends, and for up to 5 s while Qt ends a connection that is very busy.
     * Thread: the object's own, as the last thing that it does.
     */
    void shutDown();

Q_SIGNALS:
    /// The document has come. @param json  its text, whatever the server sent
    void finishedInformation(QString json);

    /// The download of a package has begun.
    void startedDownloadFile();

    /// The download is over, in whatever way.
    void finishedDownloadFile();

    /// @param percent  of the package that is here; negative while the server has not given its size
    void progressValueChanged(int percent);

    /// The package cannot be fetched, unpacked or started.
    void errorDownloadFile();

    /// The package is on the disk, and execFile() starts it.
    void readiedExec();

public Q_SLOTS:
    /**
     * Fetches the document from the address in the settings (updatesettings::jsonUrl) or, without one, from the
     * built-in one (webpages::updateInformation()). finishedInformation() follows, or nothing if it fails. There is no
     * time limit. Once in the life of the object; further calls do nothing.
     */
    void downloadInformation();

    /**
     * Downloads a package into a new temporary folder, and unpacks it unless it is an EXE. Ends after 60 s of silence.
     * Blocks for up to 1 s where the script host of an earlier package has to be ended.
     *
     * Trips people: the folder becomes the current one of the whole process, and it stays when the object goes, for the
     * installer needs it.
     *
     * @param url  the address; its ending tells what the package is: "exe", "dmg", anything else is a ZIP archive
     */
    void downloadFile(const QString &url);

    /// Ends the download under way, if there is one; an unpacking goes on. Silent, unless the download has just failed.
    void cancelDownload();

    /// Ends it because nothing has come for too long, which is an error.
    void timeoutDownload();

    /**
     * Starts the installer of the last package, which then runs on its own. errorDownloadFile() if it cannot start.
     *
     * Blocks until it has started; on Windows, for one that asks for elevation, until the user has answered.
     */
    void execFile();

    /// Takes the document from its reply.
    void replyFinishedInfo(QNetworkReply *reply);

    /// Takes a package from its reply: saves it, and readies it or has it unpacked.
    void replyFinishedFileDownload(QNetworkReply *);

    /// Looks for the installer among what the script host unpacked.
    void replyFinishedUnzip(int, QProcess::ExitStatus);

    /// Looks for the installer on a mounted disk image (macOS), for up to half a second. Nothing connects it yet.
    void replyFinishedMount(int, QProcess::ExitStatus);

    /// Passes progress on, and starts the time limit afresh. @param received, total  bytes; total is -1 if unknown
    void replyDownloadProgress(qint64 received, qint64 total);

private:
    friend class UpdateInformationProbe;

    void refusePackage();
    void forgetDownload();
    void stopTimer();
    bool makeFolder();
    QString packagePath() const;
    bool savePackage(QNetworkReply &package);
    bool ready();
    bool unpack();
    QString endUnpacking();

    // What a test may lower, while no download runs.
    static int silenceLimitMs;
    static qint64 largestPackage;
    static qint64 largestDocument;

    QNetworkAccessManager *manager = nullptr;
    QProcess process;
    QTemporaryDir *tempDir = nullptr;
    QNetworkReply *reply = nullptr;
    QTimer *timer = nullptr;
    bool timedOut = false;
    bool isExe = false;
    bool isDmg = false;
    QString execPath;
    bool tooLarge = false;

    // Set by the thread that the object lived in, and read by the one that destroys it: it orders the two.
    std::atomic<bool> isShutDown = false;
};
