// The update service against the server that answers badly: what is asked of it, of which address, and when, is chosen
// by chance. Each download has one clear outcome, nothing hangs, and nothing stays that should not.

#include "chance.h"
#include "hostilepaths.h"
#include "informationthread.h"
#include "openfiles.h"
#include "rounds.h"
#include "sanitizers.h"
#include "scripthost.h"
#include "updateinformationprobe.h"
#include "updateserver.h"
#include "zipfile.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>
#include <optional>

namespace {

// For what ends by itself. A minute of silence is shortened; what hangs takes longer than this.
constexpr int patienceMs = 60'000;
constexpr qint64 largestPackage = 3'000'000;
constexpr qint64 largestDocument = 1'000'000;

const QString fetchEnded = QStringLiteral("UpdateInformation: end of replyFinished");
const QString downloadBegins = QStringLiteral("UpdateInformation: download ");
const QString aborted = QStringLiteral("UpdateInformation: file download abort");
const QString sizeTold = QStringLiteral("UpdateInformation: read size ");

const QString started = QStringLiteral("startedDownloadFile");
const QString finished = QStringLiteral("finishedDownloadFile");
const QString readied = QStringLiteral("readiedExec");
const QString failed = QStringLiteral("errorDownloadFile");

const QString installer = QStringLiteral("setup.exe");
const QString notes = QStringLiteral("readme.txt");
const QString package = QStringLiteral("temp.exe");
const QString diskImage = QStringLiteral("temp.dmg");

/// A package that was asked for.
struct Asked
{
    QString address;
    qint64 size;
    bool isExe;
    bool cancelled = false; ///< or tried to, perhaps too late
};

/// What became of it, as the story tells between this request and the next.
struct Told
{
    QStringList signalsInOrder;
    qint64 size = -1;
    bool wasAborted = false;

    bool hasOutcome() const { return signalsInOrder.contains(readied) || signalsInOrder.contains(failed); }
};

} // namespace

class UpdateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_settings.path()));
        QVERIFY(m_server.isRunning());
        m_server.addFile(hostilepaths::installerName, "an installer");
        m_server.addFile(hostilepaths::archiveName, zipFile({{installer, "the installer"}, {notes, "read me"}}));
        UpdateInformationProbe::setLargestPackage(largestPackage);
        UpdateInformationProbe::setLargestDocument(largestDocument);
        openWhatStaysOpen();
        m_openFiles = openFiles();
    }

    void round_data() { rounds::add(8); }

    void round()
    {
        QFETCH(uint, seed);
        rounds::begin(seed);
        m_chance.emplace(seed);
        m_asked.clear();
        m_hangs = m_chance->oneIn(4);
        m_host.useStandIn(m_hangs ? "hang" : m_chance->of(hostModes()));
        // So short that silence is met, so long that a busy machine can answer.
        UpdateInformationProbe::setSilenceLimit(m_chance->between(300, 1500));
        m_service = std::make_unique<InformationThread>();
        m_fetched = !m_chance->oneIn(8);
        if (m_fetched)
            fetch();
        for (int steps = m_chance->between(2, 7); steps > 0 && !QTest::currentTestFailed(); --steps)
            step();
        if (!QTest::currentTestFailed())
            end();
        m_service.reset();
        QTRY_COMPARE_WITH_TIMEOUT(openFiles(), m_openFiles, patienceMs);
    }

    void cleanup() { m_service.reset(); }

private:
    static QList<QByteArray> hostModes() { return {"", "", "crash", "nothing", "fail"}; }

    /// TLS opens files at its first use and keeps them.
    void openWhatStaysOpen()
    {
        InformationThread service;
        service.fetch(m_server.address(QStringLiteral("/document/good"), QStringLiteral("https")));
        QVERIFY(service.waitFor(fetchEnded));
    }

    void fetch()
    {
        const QString address = hostilepaths::document(m_server, *m_chance);
        // There is no time limit: what never comes, or is never let go on, is never over.
        const bool ends = !address.contains(QStringLiteral("/silent/")) && !address.contains(QStringLiteral("/stepped"))
            && !address.contains(QStringLiteral("/drip")) && !address.contains(QStringLiteral("silent"))
            && !address.endsWith(QStringLiteral("/false-gzip"));
        m_service->fetch(address);
        rounds::count("fetches");
        if (ends && m_chance->oneIn(2))
            QVERIFY2(waitFor([&] { return m_service->transcript().contains(fetchEnded); }), qPrintable(story()));
    }

    void step()
    {
        switch (m_chance->below(8)) {
        case 0:
            return cancel();
        case 1:
        case 2:
            return awaitOutcome();
        case 3:
            return QTest::qWait(m_chance->below(50));
        case 4:
            return m_server.step(QStringLiteral("soak"));
        default:
            return download();
        }
    }

    void download()
    {
        if (!m_asked.isEmpty() && !isOver())
            rounds::count("downloads that took the place of another");
        const bool isExe = underThreadSanitizer || !m_chance->oneIn(3);
        if (isExe) {
            const hostilepaths::Package chosen = hostilepaths::package(
                m_server, *m_chance, m_chance->oneIn(4) ? QStringLiteral("EXE") : QStringLiteral("exe"));
            m_asked.append({chosen.address, chosen.size, true});
        } else if (m_chance->oneIn(2)) {
            m_asked.append({hostilepaths::archive(m_server), -1, false});
        } else {
            const QString suffix = m_chance->oneIn(2) ? QStringLiteral("zip") : QStringLiteral("dmg");
            m_asked.append({hostilepaths::package(m_server, *m_chance, suffix).address, -1, false});
        }
        m_service->download(m_asked.constLast().address);
        rounds::count("downloads");
    }

    void cancel()
    {
        if (!m_asked.isEmpty())
            m_asked.last().cancelled = true;
        m_service->cancel();
        rounds::count("cancels");
    }

    void awaitOutcome()
    {
        if (m_asked.isEmpty() || mayUnpackForEver())
            return;
        QVERIFY2(waitFor([&] { return isOver(); }), qPrintable(story()));
        rounds::count("outcomes waited for");
    }

    void end()
    {
        const bool waits = m_chance->oneIn(2);
        if (waits)
            awaitOutcome();
        if (QTest::currentTestFailed())
            return;
        if (m_chance->oneIn(2))
            m_service->destroyInThread();
        else
            m_service->end();
        rounds::count("ends");
        judgeStory();
        if (!QTest::currentTestFailed())
            judgeFiles();
    }

    template <typename Condition>
    static bool waitFor(Condition condition)
    {
        return QTest::qWaitFor(condition, patienceMs);
    }

    /// A host that hangs is ended by whatever comes next, but not by itself.
    bool mayUnpackForEver() const { return m_hangs && !m_asked.constLast().isExe; }

    QString story() { return m_service->story().join(u'\n'); }

    /// One for each request, in order.
    QList<Told> told()
    {
        QList<Told> list;
        const QStringList lines = m_service->story();
        for (const QString &line : lines) {
            if (line.startsWith(downloadBegins)) {
                list.append(Told());
                continue;
            }
            if (list.isEmpty() || line.contains(QStringLiteral("finishedInformation")))
                continue;
            if (line.startsWith(QStringLiteral("-> ")))
                list.last().signalsInOrder.append(line.mid(3));
            else if (line.startsWith(sizeTold))
                list.last().size = line.mid(sizeTold.size()).toLongLong();
            list.last().wasAborted = list.constLast().wasAborted || line == aborted;
        }
        return list;
    }

    /// Whether the last download has its outcome, of which the user's cancel is one.
    bool isOver()
    {
        const QList<Told> all = told();
        if (all.size() < m_asked.size())
            return false;
        return all.constLast().hasOutcome() || wasCancelled(all.constLast(), m_asked.constLast());
    }

    static bool wasCancelled(const Told &told, const Asked &asked)
    {
        return asked.cancelled && told.wasAborted && told.signalsInOrder == QStringList{started, finished};
    }

    /// Each download has at most one outcome, and what it announced before stands in order.
    void judgeStory()
    {
        const QList<Told> all = told();
        QVERIFY2(all.size() == m_asked.size(), qPrintable(story()));
        const QList<QStringList> ways = m_fetched
            ? QList<QStringList>{{started, finished, readied}, {started, finished, failed}}
            : QList<QStringList>{{failed}}; // without a fetch nobody can know of a package
        for (qsizetype index = 0; index < all.size(); ++index) {
            const QStringList &announced = all[index].signalsInOrder;
            const bool isPartOfAWay = std::any_of(ways.begin(), ways.end(), [&](const QStringList &way) {
                return way.mid(0, announced.size()) == announced;
            });
            QVERIFY2(isPartOfAWay, qPrintable(m_asked[index].address + u'\n' + story()));
            countOutcome(announced);
            const bool isWhole = announced.contains(readied) && m_asked[index].size != -1;
            QVERIFY2(!isWhole || all[index].size == m_asked[index].size, qPrintable(story()));
        }
        QVERIFY2(m_service->story().filter(QStringLiteral("finishedInformation")).size() <= 1, qPrintable(story()));
    }

    static void countOutcome(const QStringList &announced)
    {
        const QString last = announced.isEmpty() ? QString() : announced.constLast();
        rounds::count(last == readied      ? "downloads readied"
                          : last == failed ? "downloads refused with an error"
                                           : "downloads cancelled, replaced or ended");
    }

    /// What was readied is there whole; of the rest nothing but what a script host had unpacked when it was ended, and
    /// disk images, which stay.
    void judgeFiles()
    {
        QList<qint64> readiedSizes;
        const QList<Told> all = told();
        for (qsizetype index = 0; index < all.size(); ++index) {
            if (m_asked[index].isExe && all[index].signalsInOrder.contains(readied))
                readiedSizes.append(all[index].size);
        }
        QList<qint64> foundSizes;
        const QStringList files = m_service->files();
        for (const QString &file : files) {
            const QString name = QFileInfo(file).fileName();
            if (name == package)
                foundSizes.append(QFileInfo(file).size());
            else
                QVERIFY2(name == installer || name == notes || name == diskImage, qPrintable(file + u'\n' + story()));
        }
        std::sort(readiedSizes.begin(), readiedSizes.end());
        std::sort(foundSizes.begin(), foundSizes.end());
        QVERIFY2(foundSizes == readiedSizes, qPrintable(files.join(u'\n') + u'\n' + story()));
    }

    QTemporaryDir m_settings;
    UpdateServer m_server;
    ScriptHost m_host;
    std::optional<Chance> m_chance;
    std::unique_ptr<InformationThread> m_service;
    QList<Asked> m_asked;
    qsizetype m_openFiles = 0;
    bool m_fetched = false;
    bool m_hangs = false;
};

QTEST_GUILESS_MAIN(UpdateTest)
#include "update_test.moc"
