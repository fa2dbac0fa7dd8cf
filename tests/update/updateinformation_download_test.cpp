#include "environment.h"
#include "informationthread.h"
#include "sanitizers.h"
#include "scripthost.h"
#include "systemnetwork.h"
#include "updateinformationprobe.h"
#include "updateserver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QNetworkReply>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <climits>
#include <functional>

namespace {

constexpr int defaultSilenceLimit = 60'000;
constexpr qint64 defaultLargestPackage = 2'147'483'648;
constexpr qint64 oneGiB = 1'073'741'824;

const QString started = QStringLiteral("-> startedDownloadFile");
const QString finished = QStringLiteral("-> finishedDownloadFile");
const QString failed = QStringLiteral("-> errorDownloadFile");
const QString readied = QStringLiteral("-> readiedExec");
const QString cancelling = QStringLiteral("UpdateInformation: cancel download");
const QString aborting = QStringLiteral("UpdateInformation: file download abort");
const QString errorFollows = QStringLiteral("UpdateInformation: file download error");
const QString cancelled = QStringLiteral("Operation canceled");
const QString tooLarge = QStringLiteral("UpdateInformation: package too large");

QStringList beginning(const QString &address, bool isExe = true)
{
    return {QStringLiteral("UpdateInformation: download ") + address,
            QStringLiteral("UpdateInformation: isExe %1, isDmg false")
                .arg(isExe ? QStringLiteral("true") : QStringLiteral("false")),
            started};
}

QStringList succeeding(const QString &address, qint64 size)
{
    return beginning(address)
        + QStringList{finished, QStringLiteral("UpdateInformation: tempDir TEMP"),
                      QStringLiteral("UpdateInformation: read size %1").arg(size),
                      QStringLiteral("UpdateInformation: exec TEMP\\temp.exe"), readied};
}

QStringList failing(const QString &address, const QString &error)
{
    return beginning(address) + QStringList{finished, errorFollows, error, failed};
}

/// What a user's cancel leaves behind it.
QStringList cancelledByUser()
{
    return {cancelling, finished, errorFollows, cancelled, aborting, cancelled};
}

QStringList timedOut()
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

QByteArray content(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList unpacking(const QString &address)
{
    return beginning(address, false)
        + QStringList{finished, QStringLiteral("UpdateInformation: tempDir TEMP"),
                      QStringLiteral("UpdateInformation: read size 1000")};
}

/// Whether the script host runs.
bool unpacks(UpdateInformation &information)
{
    return UpdateInformationProbe::process(information).state() == QProcess::Running;
}

/// The percentages of a transcript.
QList<int> percentages(const QStringList &transcript)
{
    const QString prefix = QStringLiteral("-> progressValueChanged ");
    QList<int> found;
    for (const QString &line : transcript) {
        if (line.startsWith(prefix))
            found.append(line.mid(prefix.size()).toInt());
    }
    return found;
}

} // namespace

class UpdateInformationDownloadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void savesWhatComes_data();
    void savesWhatComes();
    void savesOverTls();
    void failures_data();
    void failures();
    void failuresOfCertificates_data();
    void failuresOfCertificates();
    void anEmptyBodyIsAnError();
    void aChunkedBodyCutShortHasOneOutcome();
    void neverFollowsFromHttpsToHttp();
    void followsFromHttpToHttps();
    void withoutAScriptHostAnArchiveIsAnError();
    void asksPlainly();
    void withoutAFetchThereIsNoDownload();

    void progressOfAKnownSizeGrowsTo100();
    void percentages_data();
    void percentages();
    void lateProgressIsIgnored();

    void timerIsOneShotOf60Seconds();
    void progressStartsTheTimerAfresh();
    void progressAtTheLastMomentIsInTime();
    void aSlowDownloadIsNoSilence();
    void silenceIsAnError_data();
    void silenceIsAnError();

    void cancelIsSilent_data();
    void cancelIsSilent();
    void cancelInMidBody();
    void cancelAfterTheEnd();
    void cancelWithoutADownload();
    void cancelLosesAgainstATimeout();
    void cancelWhileUnpacking();

    void aSecondDownloadTakesThePlaceOfTheFirst_data();
    void aSecondDownloadTakesThePlaceOfTheFirst();
    void aSecondDownloadWhileTheFirstUnpacks();
    void aSecondDownloadAfterTheEnd();
    void aSecondDownloadAfterAFailure();
    void aPackageBeforeTheDocument();

    void largestPackage_data();
    void largestPackage();
    void moreThan2GiBIsRefusedAtOnce();
    void anEndlessPackageEnds_data();
    void anEndlessPackageEnds();
    void aPackageWithFalseGzipEnds_data();
    void aPackageWithFalseGzipEnds();
    void aPackageOf1GiBComesWhole();

    void endsCleanlyAtAnyPoint_data();
    void endsCleanlyAtAnyPoint();
    void endsCleanlyWhileUnpacking();
    void endsCleanlyAfterTheEnd();

private:
    bool fetched(InformationThread &information) const;
    bool stepUntil(const std::function<bool()> &condition) const;
    QString stepped(const QString &path) const;

    // A response that nobody waits for any more takes steps too, so each case has names of its own.
    QString first() const { return QStringLiteral("first%1").arg(m_case); }
    QString second() const { return QStringLiteral("second%1").arg(m_case); }

    QTemporaryDir m_settings;
    UpdateServer m_server;
    int m_case = 0;
};

void UpdateInformationDownloadTest::initTestCase()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_settings.path()));
    QVERIFY(m_server.isRunning());
    QCOMPARE(UpdateInformationProbe::silenceLimit(), defaultSilenceLimit);
    QCOMPARE(UpdateInformationProbe::largestPackage(), defaultLargestPackage);
}

void UpdateInformationDownloadTest::init()
{
    ++m_case;
    UpdateInformationProbe::setSilenceLimit(defaultSilenceLimit);
    UpdateInformationProbe::setLargestPackage(defaultLargestPackage);
}

/// As in the product: first the document, then packages.
bool UpdateInformationDownloadTest::fetched(InformationThread &information) const
{
    information.fetch(m_server.address(QStringLiteral("/document/not-json")));
    const bool came = information.waitFor(QStringLiteral("UpdateInformation: end of replyFinished"));
    information.forget();
    m_server.forgetRequests();
    return came;
}

/// Qt tells of progress ten times a second at most: a piece that comes too soon after another goes untold.
bool UpdateInformationDownloadTest::stepUntil(const std::function<bool()> &condition) const
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

/// The address of a body that comes in a thousand steps.
QString UpdateInformationDownloadTest::stepped(const QString &path) const
{
    return m_server.address(path + QStringLiteral("?size=100000&pieces=1000&name=%1&as=a.exe").arg(first()));
}

// ---- What comes -----------------------------------------------------------------------------------------------------

void UpdateInformationDownloadTest::savesWhatComes_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("size");
    QTest::newRow("one byte") << "/body?size=1&as=a.exe" << 1;
    QTest::newRow("suffix in capitals") << "/body?size=10&as=A.EXE" << 10;
    QTest::newRow("suffix without a dot") << "/body?size=10&as=exe" << 10;
    QTest::newRow("many whole pieces on disk") << "/body?size=1048576&as=a.exe" << 1'048'576;
    QTest::newRow("a byte more") << "/body?size=1048577&as=a.exe" << 1'048'577;
    QTest::newRow("50 MB") << "/body?size=50000000&as=a.exe" << 50'000'000;
    QTest::newRow("chunked") << "/chunked?size=3000000&as=a.exe" << 3'000'000;
    QTest::newRow("no length") << "/unsized?size=3000000&as=a.exe" << 3'000'000;
    QTest::newRow("drop by drop") << "/drip?size=100&piece=9&pause=5&as=a.exe" << 100;
    QTest::newRow("more than told") << "/length/too-short?as=a.exe" << 1000;
    QTest::newRow("cut short without a length") << "/close/in-body-unsized?as=a.exe" << 1000;
    QTest::newRow("redirected") << "/redirect?to=/body&as=a.exe" << 1000;
}

void UpdateInformationDownloadTest::savesWhatComes()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    const QString address = m_server.address(path);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, size));
    QCOMPARE(information.files().size(), 1);
    QCOMPARE(QFileInfo(information.files().constFirst()).fileName(), QStringLiteral("temp.exe"));
    QVERIFY(content(information.files().constFirst()) == UpdateServer::body(size));
    QCOMPARE(QDir::currentPath(), QFileInfo(information.files().constFirst()).absolutePath());
    QVERIFY(information.in([](UpdateInformation &object) {
        return UpdateInformationProbe::timer(object) == nullptr && UpdateInformationProbe::reply(object) == nullptr
            && UpdateInformationProbe::tempDir(object) == nullptr;
    }));
}

void UpdateInformationDownloadTest::savesOverTls()
{
    // Windows' TLS in Qt 6.4 may lose the end of a large body that the server closes behind.
    const QString address =
        m_server.address(QStringLiteral("/body?size=3000000&stays=1&as=a.exe"), QStringLiteral("https"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, 3'000'000));
    QVERIFY(content(information.files().constFirst()) == UpdateServer::body(3'000'000));
}

// ---- What does not come ---------------------------------------------------------------------------------------------

void UpdateInformationDownloadTest::failures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("error"); // %1 stands for the address
    const QString status = QStringLiteral("Error transferring %1 - server replied: As told");
    QTest::newRow("404") << "/status/404" << status;
    QTest::newRow("500") << "/status/500" << status;
    QTest::newRow("redirect loop") << "/loop"
                                   << "Too many redirects";
    QTest::newRow("redirect to a file") << "/redirect?to=file:///etc/hostname"
                                        << "Unknown protocol specified";
    for (const char *const path : {"/reset/before", "/reset/in-header", "/reset/after-header", "/reset/in-body",
                                   "/close/before", "/close/in-header", "/close/in-body", "/length/too-long"})
        QTest::newRow(path) << path << "Connection closed";
}

void UpdateInformationDownloadTest::failures()
{
    QFETCH(QString, path);
    QFETCH(QString, error);
    if (path.startsWith(QStringLiteral("/reset/")) && environment::isWine())
        QSKIP("Wine tells nobody of a connection that was reset");
    for (const QString &port : {QStringLiteral("http"), QStringLiteral("https")}) {
        const QString mark = path.contains(u'?') ? QStringLiteral("&") : QStringLiteral("?");
        const QString address = m_server.address(path + mark + QStringLiteral("as=a.exe"), port);
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(information.waitFor(failed));
        QCOMPARE(information.story(), failing(address, QString(error).replace(QStringLiteral("%1"), address)));
        QCOMPARE(information.files(), QStringList());
    }
}

void UpdateInformationDownloadTest::failuresOfCertificates_data()
{
    QTest::addColumn<QString>("error");
    QTest::newRow("refused") << "Connection refused";
    for (const systemnetwork::CertificateFailure &failure : systemnetwork::certificateFailures())
        QTest::newRow(failure.port) << failure.error;
}

void UpdateInformationDownloadTest::failuresOfCertificates()
{
    QFETCH(QString, error);
    const QString port = QString::fromUtf8(QTest::currentDataTag());
    const QString address = m_server.address(QStringLiteral("/body?as=a.exe"), port);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(failed));
    QCOMPARE(information.story(), failing(address, error));
    QCOMPARE(m_server.targets(), QStringList()); // it has not even asked
}

void UpdateInformationDownloadTest::anEmptyBodyIsAnError()
{
    const QString address = m_server.address(QStringLiteral("/empty?as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(failed));
    // Not even progress: there is nothing to make progress with.
    QCOMPARE(information.transcript(),
             beginning(address)
                 + (QStringList{finished, QStringLiteral("UpdateInformation: file download size zero"), failed}));
    QCOMPARE(information.files(), QStringList());
}

/// Qt may or may not notice that the last chunk is missing.
void UpdateInformationDownloadTest::aChunkedBodyCutShortHasOneOutcome()
{
    for (const QString &path : {QStringLiteral("/close/in-body-chunked"), QStringLiteral("/chunked/broken")}) {
        const QString address = m_server.address(path + QStringLiteral("?as=a.exe"));
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(QTest::qWaitFor([&] { return information.outcome().size() == 3; }, defaultSilenceLimit));
        information.end();
        const QStringList story = information.story();
        QVERIFY2(story == succeeding(address, 1000) || story == failing(address, QStringLiteral("Connection closed")),
                 qPrintable(story.join(u'\n')));
    }
}

void UpdateInformationDownloadTest::neverFollowsFromHttpsToHttp()
{
    const QString target = m_server.address(QStringLiteral("/body"));
    const QString path = QStringLiteral("/redirect?to=%1&as=a.exe").arg(target);
    const QString address = m_server.address(path, QStringLiteral("https"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(failed));
    QCOMPARE(information.story(), failing(address, QStringLiteral("Insecure redirect")));
    QCOMPARE(m_server.targets(), QStringList{path});
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadTest::followsFromHttpToHttps()
{
    const QString target = m_server.address(QStringLiteral("/body"), QStringLiteral("https"));
    const QString address = m_server.address(QStringLiteral("/redirect?to=%1&as=a.exe").arg(target));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, 1000));
}

void UpdateInformationDownloadTest::withoutAScriptHostAnArchiveIsAnError()
{
    if (underThreadSanitizer)
        QSKIP("the object's thread starts a process");
    ScriptHost host;
    host.useNone();
    const QString address = m_server.address(QStringLiteral("/body?as=a.zip"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(failed));
    QCOMPARE(information.story(),
             beginning(address, false)
                 + (QStringList{finished, QStringLiteral("UpdateInformation: tempDir TEMP"),
                                QStringLiteral("UpdateInformation: read size 1000"),
                                QStringLiteral("UpdateInformation: script host not started"), failed}));
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadTest::asksPlainly()
{
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/body?as=a.exe")));
    QVERIFY(information.waitFor(readied));
    const QJsonArray requests = m_server.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests[0][QStringLiteral("method")].toString(), QStringLiteral("GET"));
    QCOMPARE(requests[0][QStringLiteral("target")].toString(), QStringLiteral("/body?as=a.exe"));
    QStringList names;
    for (const auto &field : requests[0][QStringLiteral("fields")].toArray())
        names.append(field[0].toString());
    names.sort();
    QCOMPARE(names.join(u' '), QStringLiteral("Accept-Encoding Accept-Language Connection Host User-Agent"));
}

void UpdateInformationDownloadTest::withoutAFetchThereIsNoDownload()
{
    InformationThread information;
    information.download(m_server.address(QStringLiteral("/body?as=a.exe")));
    QVERIFY(information.waitFor(failed));
    QCOMPARE(information.outcome(), QStringList{QStringLiteral("errorDownloadFile")});
}

// ---- Progress -------------------------------------------------------------------------------------------------------

void UpdateInformationDownloadTest::progressOfAKnownSizeGrowsTo100()
{
    InformationThread information;
    QVERIFY(fetched(information));
    constexpr int pieces = 40;
    information.download(
        m_server.address(QStringLiteral("/stepped?size=40&pieces=%1&name=%2&as=a.exe").arg(pieces).arg(first())));
    // Some of it is told before the rest comes.
    QVERIFY(stepUntil([&] { return !::percentages(information.transcript()).isEmpty(); }));
    for (int i = 0; i < pieces; ++i)
        m_server.step(first());
    QVERIFY(information.waitFor(readied));
    const QStringList transcript = information.transcript();
    const QList<int> percent = ::percentages(transcript);
    QVERIFY(percent.size() > 1);
    QVERIFY(percent.constFirst() >= 0);
    QVERIFY(std::is_sorted(percent.begin(), percent.end()));
    QCOMPARE(percent.constLast(), 100);
    for (const int value : percent)
        QVERIFY(transcript.contains(QStringLiteral("UpdateInformation: ProgressBar %1").arg(value)));
}

void UpdateInformationDownloadTest::percentages_data()
{
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<QList<int>>("percent");
    const QList<int> ignored;
    QTest::newRow("nothing") << Q_INT64_C(0) << Q_INT64_C(100) << QList{0};
    QTest::newRow("a third") << Q_INT64_C(1) << Q_INT64_C(3) << QList{33};
    QTest::newRow("nearly all") << Q_INT64_C(999) << Q_INT64_C(1000) << QList{99};
    QTest::newRow("all") << Q_INT64_C(3) << Q_INT64_C(3) << QList{100};
    QTest::newRow("more than all") << Q_INT64_C(6) << Q_INT64_C(3) << QList{200};
    QTest::newRow("no total") << Q_INT64_C(0) << Q_INT64_C(0) << ignored;
    QTest::newRow("no total, some bytes") << Q_INT64_C(7) << Q_INT64_C(0) << ignored;
    QTest::newRow("unknown total") << Q_INT64_C(7) << Q_INT64_C(-1) << QList{-700};
    QTest::newRow("unknown total, nothing yet") << Q_INT64_C(0) << Q_INT64_C(-1) << QList{0};
    QTest::newRow("unknown total, the least number") << Q_INT64_C(21'474'836) << Q_INT64_C(-1) << QList{-2'147'483'600};
    QTest::newRow("unknown total, a number too small") << Q_INT64_C(21'474'837) << Q_INT64_C(-1) << QList{INT_MIN};
    QTest::newRow("unknown total, 2 GiB") << defaultLargestPackage << Q_INT64_C(-1) << QList{INT_MIN};
    QTest::newRow("2 GiB") << defaultLargestPackage << defaultLargestPackage << QList{100};
    QTest::newRow("2 GiB of one byte") << defaultLargestPackage << Q_INT64_C(1) << QList{INT_MAX};
}

void UpdateInformationDownloadTest::percentages()
{
    QFETCH(qint64, received);
    QFETCH(qint64, total);
    QFETCH(QList<int>, percent);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/silent/before?as=a.exe")));
    QVERIFY(information.waitFor(started));
    information.in([=](UpdateInformation &object) { object.replyDownloadProgress(received, total); });
    QCOMPARE(::percentages(information.transcript()), percent);
    QVERIFY(
        information.in([](UpdateInformation &object) { return UpdateInformationProbe::timer(object)->isActive(); }));
}

void UpdateInformationDownloadTest::lateProgressIsIgnored()
{
    InformationThread information;
    information.in([](UpdateInformation &object) { object.replyDownloadProgress(1, 2); });
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/body?as=a.exe")));
    QVERIFY(information.waitFor(readied));
    information.forget();
    information.in([](UpdateInformation &object) { object.replyDownloadProgress(1, 2); });
    QCOMPARE(information.transcript(), QStringList());
}

// ---- Silence --------------------------------------------------------------------------------------------------------

void UpdateInformationDownloadTest::timerIsOneShotOf60Seconds()
{
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/silent/before?as=a.exe")));
    QVERIFY(information.waitFor(started));
    information.in([&](UpdateInformation &object) {
        const QTimer *const timer = UpdateInformationProbe::timer(object);
        QCOMPARE(timer->interval(), defaultSilenceLimit);
        QVERIFY(timer->isSingleShot());
        QVERIFY(timer->isActive());
        QCOMPARE(timer->thread(), object.thread());
    });
}

void UpdateInformationDownloadTest::progressStartsTheTimerAfresh()
{
    constexpr int other = 10'000'000;
    for (const QString &path : {QStringLiteral("/stepped"), QStringLiteral("/stepped-chunked")}) {
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(stepped(path));
        QVERIFY(information.waitFor(started));
        for (int i = 0; i < 3; ++i) {
            // With another interval a fresh start shows, however little time has passed.
            information.in([](UpdateInformation &object) { UpdateInformationProbe::timer(object)->start(other); });
            const qsizetype before = ::percentages(information.transcript()).size();
            QVERIFY(stepUntil([&] { return ::percentages(information.transcript()).size() > before; }));
            information.in([](UpdateInformation &object) {
                const QTimer *const timer = UpdateInformationProbe::timer(object);
                QCOMPARE(timer->interval(), defaultSilenceLimit);
                QVERIFY(timer->isActive());
                QVERIFY(timer->remainingTime() > 0);
            });
        }
    }
}

/// The limit is over when progress comes, but the timer has not told it yet.
void UpdateInformationDownloadTest::progressAtTheLastMomentIsInTime()
{
    constexpr int shortLimit = 50;
    constexpr int times = 3;
    const QString address =
        m_server.address(QStringLiteral("/stepped?size=1000&pieces=1&name=%1&as=a.exe").arg(first()));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(started));
    for (int i = 1; i <= times; ++i) {
        information.in([=](UpdateInformation &object) {
            QTimer *const timer = UpdateInformationProbe::timer(object);
            QVERIFY(timer != nullptr);
            timer->start(shortLimit);
            while (timer->remainingTime() > 0)
                QThread::msleep(1);
            object.replyDownloadProgress(i, 2 * times);
        });
        // The thread serves its timers.
        QTest::qWait(shortLimit);
    }
    for (int i = 0; i < 2; ++i)
        m_server.step(first());
    QVERIFY(information.waitFor(finished));
    QCOMPARE(information.story(), succeeding(address, 1000));
}

/// It takes longer than the limit, but something comes all the time.
void UpdateInformationDownloadTest::aSlowDownloadIsNoSilence()
{
    UpdateInformationProbe::setSilenceLimit(10'000);
    const QString address = m_server.address(QStringLiteral("/drip?size=48&piece=1&pause=250&as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(finished));
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, 48));
}

void UpdateInformationDownloadTest::silenceIsAnError_data()
{
    QTest::addColumn<QString>("path");
    for (const char *const path : {"/silent/before", "/silent/after-header", "/silent/in-body"})
        QTest::newRow(path) << path;
}

void UpdateInformationDownloadTest::silenceIsAnError()
{
    QFETCH(QString, path);
    UpdateInformationProbe::setSilenceLimit(300);
    for (const QString &port : {QStringLiteral("http"), QStringLiteral("https")}) {
        const QString address = m_server.address(path + QStringLiteral("?as=a.exe"), port);
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(information.waitFor(aborting));
        QCOMPARE(information.story(), beginning(address) + timedOut());
        QVERIFY(information.in([](UpdateInformation &object) {
            return UpdateInformationProbe::timedOut(object) && UpdateInformationProbe::timer(object) == nullptr;
        }));
        QCOMPARE(information.files(), QStringList());
    }
}

// ---- Cancel ---------------------------------------------------------------------------------------------------------

void UpdateInformationDownloadTest::cancelIsSilent_data()
{
    QTest::addColumn<QString>("path");
    for (const char *const path : {"/silent/before", "/silent/after-header", "/silent/in-body", "/endless"})
        QTest::newRow(path) << path;
}

void UpdateInformationDownloadTest::cancelIsSilent()
{
    QFETCH(QString, path);
    const QString address = m_server.address(path + QStringLiteral("?as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QTRY_COMPARE(m_server.targets(), QStringList{path + QStringLiteral("?as=a.exe")});
    information.cancel();
    information.cancel(); // a user may be quick
    QVERIFY(information.waitFor(aborting));
    information.end();
    QCOMPARE(information.story(), beginning(address) + cancelledByUser() + QStringList{cancelling});
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadTest::cancelInMidBody()
{
    for (const QString &path : {QStringLiteral("/stepped"), QStringLiteral("/stepped-chunked")}) {
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(stepped(path));
        QVERIFY(stepUntil([&] { return !::percentages(information.transcript()).isEmpty(); }));
        information.cancel();
        QVERIFY(information.waitFor(aborting));
        m_server.step(first());
        information.end();
        QCOMPARE(information.story(), beginning(stepped(path)) + cancelledByUser());
        QCOMPARE(information.files(), QStringList());
    }
}

void UpdateInformationDownloadTest::cancelAfterTheEnd()
{
    const QString address = m_server.address(QStringLiteral("/body?as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    information.cancel();
    QVERIFY(information.waitFor(cancelling));
    information.end();
    QCOMPARE(information.story(), succeeding(address, 1000) + QStringList{cancelling});
    QCOMPARE(information.files().size(), 1);
}

void UpdateInformationDownloadTest::cancelWithoutADownload()
{
    InformationThread information;
    information.cancel();
    QVERIFY(information.waitFor(cancelling));
    QVERIFY(fetched(information));
    information.cancel();
    QVERIFY(information.waitFor(cancelling));
    QCOMPARE(information.transcript(), QStringList{cancelling});
}

/// One outcome, whichever was first.
void UpdateInformationDownloadTest::cancelLosesAgainstATimeout()
{
    const QString address = m_server.address(QStringLiteral("/silent/before?as=a.exe"));
    for (const bool timeoutFirst : {true, false}) {
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(information.waitFor(started));
        information.in([=](UpdateInformation &object) {
            if (!timeoutFirst)
                object.cancelDownload();
            object.timeoutDownload();
            object.cancelDownload();
        });
        const QStringList late{QStringLiteral("UpdateInformation: timeout"), cancelling, cancelling};
        QCOMPARE(information.story(),
                 beginning(address) + (timeoutFirst ? timedOut() + QStringList{cancelling} : cancelledByUser() + late));
    }
}

/// The window with the button is gone by then; a cancel that was on its way changes nothing.
void UpdateInformationDownloadTest::cancelWhileUnpacking()
{
    if (underThreadSanitizer)
        QSKIP("the object's thread starts a process");
    ScriptHost host;
    host.useStandIn("hang");
    const QString address = m_server.address(QStringLiteral("/body?as=a.zip"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QTRY_VERIFY(information.in(unpacks));
    information.cancel();
    QVERIFY(information.waitFor(cancelling));
    QVERIFY(information.in(unpacks));
    QCOMPARE(information.story(), unpacking(address) + QStringList{cancelling});
}

// ---- Another download -----------------------------------------------------------------------------------------------

void UpdateInformationDownloadTest::aSecondDownloadTakesThePlaceOfTheFirst_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("inMidBody");
    QTest::newRow("before the header") << "/stepped" << false;
    QTest::newRow("in mid-body") << "/stepped" << true;
    QTest::newRow("in a chunked body") << "/stepped-chunked" << true;
}

void UpdateInformationDownloadTest::aSecondDownloadTakesThePlaceOfTheFirst()
{
    constexpr int other = 10'000'000;
    QFETCH(QString, path);
    QFETCH(bool, inMidBody);
    const QString address =
        m_server.address(QStringLiteral("/stepped?size=5000&pieces=1&name=%1&as=a.exe").arg(second()));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(stepped(path));
    QVERIFY(information.waitFor(started));
    QTRY_COMPARE(m_server.targets().size(), 1);
    if (inMidBody)
        QVERIFY(stepUntil([&] { return !::percentages(information.transcript()).isEmpty(); }));
    information.forget();

    information.download(address);
    QVERIFY(information.waitFor(started));
    information.in([](UpdateInformation &object) { UpdateInformationProbe::timer(object)->start(other); });
    m_server.step(first());
    m_server.step(first());
    QTRY_COMPARE(m_server.targets().size(), 2);
    // The first one's end has not touched the second one's timer.
    information.in([](UpdateInformation &object) {
        QVERIFY(UpdateInformationProbe::timer(object)->isActive());
        QCOMPARE(UpdateInformationProbe::timer(object)->interval(), other);
    });
    m_server.step(second());
    m_server.step(second());
    QVERIFY(information.waitFor(readied));
    information.end();
    QCOMPARE(information.story(), succeeding(address, 5000));
    QCOMPARE(information.files().size(), 1);
    QVERIFY(content(information.files().constFirst()) == UpdateServer::body(5000));
}

void UpdateInformationDownloadTest::aSecondDownloadWhileTheFirstUnpacks()
{
    if (underThreadSanitizer)
        QSKIP("the object's thread starts a process");
    ScriptHost host;
    host.useStandIn("hang");
    const QString address = m_server.address(QStringLiteral("/body?size=20&as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/body?as=a.zip")));
    QTRY_VERIFY(information.in(unpacks));
    information.forget();
    information.download(address);
    QVERIFY(information.waitFor(readied));
    // The host was killed, and goes when the system gets to it.
    QTRY_VERIFY(!information.in(unpacks));
    information.end();
    QCOMPARE(information.story(), succeeding(address, 20));
}

void UpdateInformationDownloadTest::aSecondDownloadAfterTheEnd()
{
    const QString first = m_server.address(QStringLiteral("/body?size=10&as=a.exe"));
    const QString second = m_server.address(QStringLiteral("/body?size=20&as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(first);
    QVERIFY(information.waitFor(readied));
    information.forget();
    information.download(second);
    QVERIFY(information.waitFor(readied));
    information.end();
    QCOMPARE(information.story(), succeeding(second, 20));
    // Each in a folder of its own; the first one stays, for its installer may run.
    QList<qint64> sizes;
    for (const QString &file : information.files())
        sizes.append(QFileInfo(file).size());
    std::sort(sizes.begin(), sizes.end());
    QCOMPARE(sizes, (QList<qint64>{10, 20}));
}

void UpdateInformationDownloadTest::aSecondDownloadAfterAFailure()
{
    const QString address = m_server.address(QStringLiteral("/body?as=a.exe"));
    UpdateInformationProbe::setSilenceLimit(300);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(QStringLiteral("/silent/before?as=a.exe")));
    QVERIFY(information.waitFor(aborting));
    UpdateInformationProbe::setSilenceLimit(defaultSilenceLimit);
    information.forget();
    information.download(address);
    QVERIFY(information.waitFor(readied));
    QCOMPARE(information.story(), succeeding(address, 1000));
    // What timed out has been forgotten: this one's cancel would be silent.
    QVERIFY(!information.in([](UpdateInformation &object) { return UpdateInformationProbe::timedOut(object); }));
}

/// The document is on its way yet, and comes later than the package.
void UpdateInformationDownloadTest::aPackageBeforeTheDocument()
{
    const QString address = m_server.address(QStringLiteral("/body?as=a.exe"));
    InformationThread information;
    information.fetch(m_server.address(QStringLiteral("/silent/before")));
    information.download(address);
    QVERIFY(information.waitFor(readied));
    information.end();
    QCOMPARE(information.story().mid(2), succeeding(address, 1000));
}

// ---- Size -----------------------------------------------------------------------------------------------------------

void UpdateInformationDownloadTest::largestPackage_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("saved");
    for (const char *const path : {"/body", "/chunked", "/unsized"}) {
        QTest::addRow("just as large, %s", path) << QStringLiteral("%1?size=2000000").arg(QLatin1String(path)) << true;
        QTest::addRow("too large, %s", path) << QStringLiteral("%1?size=2000001").arg(QLatin1String(path)) << false;
    }
}

void UpdateInformationDownloadTest::largestPackage()
{
    QFETCH(QString, path);
    QFETCH(bool, saved);
    UpdateInformationProbe::setLargestPackage(2'000'000);
    const QString address = m_server.address(path + QStringLiteral("&as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(saved ? readied : failed));
    information.end();
    if (saved) {
        QCOMPARE(information.story(), succeeding(address, 2'000'000));
        return;
    }
    QCOMPARE(information.outcome(),
             (QStringList{QStringLiteral("startedDownloadFile"), QStringLiteral("finishedDownloadFile"),
                          QStringLiteral("errorDownloadFile")}));
    QCOMPARE(information.story().count(tooLarge), 1);
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadTest::moreThan2GiBIsRefusedAtOnce()
{
    const QString address =
        m_server.address(QStringLiteral("/stepped?size=2147483649&pieces=100000&name=%1&as=a.exe").arg(first()));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(stepUntil([&] { return information.transcript().contains(failed); }));
    information.end();
    const QStringList transcript = information.transcript();
    QCOMPARE(transcript.count(tooLarge), 1);
    QVERIFY(::percentages(transcript).constFirst() < 50);
    QCOMPARE(information.story(),
             beginning(address)
                 + (QStringList{tooLarge, cancelling, finished, errorFollows, cancelled, failed, aborting, cancelled}));
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadTest::anEndlessPackageEnds_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("from the server") << "/endless?as=a.exe";
    QTest::newRow("redirected") << "/redirect?to=/endless&as=a.exe";
}

void UpdateInformationDownloadTest::anEndlessPackageEnds()
{
    QFETCH(QString, path);
    UpdateInformationProbe::setLargestPackage(5'000'000);
    const QString address = m_server.address(path);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(information.waitFor(aborting));
    information.end();
    QCOMPARE(information.story(),
             beginning(address)
                 + (QStringList{tooLarge, cancelling, finished, errorFollows, cancelled, failed, aborting, cancelled}));
    QCOMPARE(information.files(), QStringList());
}

/// Qt tells at once that it cannot unpack, and goes on for as long as the server does.
void UpdateInformationDownloadTest::aPackageWithFalseGzipEnds_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("then silence") << "/false-gzip?as=a.exe";
    QTest::newRow("without an end") << "/false-gzip?endless=1&as=a.exe";
}

void UpdateInformationDownloadTest::aPackageWithFalseGzipEnds()
{
    QFETCH(QString, path);
    UpdateInformationProbe::setLargestPackage(5'000'000);
    UpdateInformationProbe::setSilenceLimit(1000);
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(m_server.address(path));
    QVERIFY(information.waitFor(failed));
    information.end();
    QCOMPARE(information.outcome(),
             (QStringList{QStringLiteral("startedDownloadFile"), QStringLiteral("finishedDownloadFile"),
                          QStringLiteral("errorDownloadFile")}));
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadTest::aPackageOf1GiBComesWhole()
{
    const QString address = m_server.address(QStringLiteral("/body?size=%1&as=a.exe").arg(oneGiB));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QVERIFY(QTest::qWaitFor([&] { return information.transcript().contains(readied); }, 2 * defaultSilenceLimit));
    QCOMPARE(information.story(), succeeding(address, oneGiB));
    QCOMPARE(information.files().size(), 1);
    QFile file(information.files().constFirst());
    QCOMPARE(file.size(), oneGiB);
    // A lost or doubled piece anywhere would move the end.
    QVERIFY(file.open(QIODevice::ReadOnly) && file.seek(oneGiB - 1000));
    QVERIFY(file.readAll() == UpdateServer::body(251 + 1000).mid((oneGiB - 1000) % 251, 1000));
    QVERIFY(file.remove());
}

// ---- The object's end -----------------------------------------------------------------------------------------------

void UpdateInformationDownloadTest::endsCleanlyAtAnyPoint_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("destroy");
    for (const char *const path : {"/silent/before", "/silent/after-header", "/silent/in-body", "/endless"}) {
        QTest::addRow("shut down, %s", path) << path << false;
        QTest::addRow("destroyed, %s", path) << path << true;
    }
}

void UpdateInformationDownloadTest::endsCleanlyAtAnyPoint()
{
    QFETCH(QString, path);
    QFETCH(bool, destroy);
    const QString address = m_server.address(path + QStringLiteral("?as=a.exe"));
    InformationThread information;
    QVERIFY(fetched(information));
    information.download(address);
    QTRY_COMPARE(m_server.targets().size(), 1);
    if (destroy)
        information.destroyInThread();
    else
        information.end();
    QCOMPARE(information.story(), beginning(address));
    QCOMPARE(information.files(), QStringList());
}

void UpdateInformationDownloadTest::endsCleanlyWhileUnpacking()
{
    if (underThreadSanitizer)
        QSKIP("the object's thread starts a process");
    ScriptHost host;
    host.useStandIn("hang");
    const QString address = m_server.address(QStringLiteral("/body?as=a.zip"));
    for (const bool destroy : {false, true}) {
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QTRY_VERIFY(information.in(unpacks));
        if (destroy) {
            information.destroyInThread();
        } else {
            information.in([](UpdateInformation &object) {
                object.shutDown();
                QVERIFY(!unpacks(object));
            });
            information.end();
        }
        QCOMPARE(information.story(), unpacking(address));
    }
}

void UpdateInformationDownloadTest::endsCleanlyAfterTheEnd()
{
    for (const bool destroy : {false, true}) {
        const QString address = m_server.address(QStringLiteral("/body?as=a.exe"));
        InformationThread information;
        QVERIFY(fetched(information));
        information.download(address);
        QVERIFY(information.waitFor(readied));
        if (destroy)
            information.destroyInThread();
        else
            information.end();
        QCOMPARE(information.story(), succeeding(address, 1000));
        QCOMPARE(information.files().size(), 1); // the installer may run for long
    }
}

QTEST_GUILESS_MAIN(UpdateInformationDownloadTest)
#include "updateinformation_download_test.moc"
