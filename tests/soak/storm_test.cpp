// Many starts of the real panel at the same time, some of which are killed: never do two have a window, one has it in
// the end, the others end as they should, and a killed one keeps nobody out.

#include "chance.h"
#include "panelprocess.h"
#include "rounds.h"
#include "storedsettings.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace {

constexpr int patienceMs = 90'000;

// For so long a start tries to hand over.
constexpr int handOverMs = 5000;

/// One start, and what becomes of it.
class Start
{
public:
    explicit Start(std::optional<int> killAfterMs)
        : m_killAfterMs(killAfterMs)
    {
        m_isStarted = m_panel.start();
        m_age.start();
    }

    bool isStarted() const { return m_isStarted; }
    bool isKilled() const { return m_isKilled; }
    bool runs() { return code() == -1; }
    bool hasWindow() { return m_panel.errorOutput().contains(QStringLiteral("MainWindow End")); }
    PanelProcess &panel() { return m_panel; }

    /// The exit code, -1 while it runs, -2 if it was killed.
    int code()
    {
        if (m_code == -1)
            m_code = m_panel.waitForExit(0);
        if (m_code != -1 && !m_lifeMs.has_value())
            m_lifeMs = m_age.elapsed();
        return m_code;
    }

    qint64 lifeMs() const { return m_lifeMs.value_or(m_age.elapsed()); }

    /// Kills it when its time has come. One that has ended before is not killed.
    void killIfDue()
    {
        if (m_isKilled || !m_killAfterMs.has_value() || m_age.elapsed() < *m_killAfterMs || !runs())
            return;
        m_panel.kill();
        m_code = m_panel.waitForExit();
        m_isKilled = m_code == -2;
    }

    bool isDoomed() { return m_killAfterMs.has_value() && runs(); }

private:
    PanelProcess m_panel;
    QElapsedTimer m_age;
    std::optional<int> m_killAfterMs;
    std::optional<qint64> m_lifeMs;
    int m_code = -1;
    bool m_isStarted = false;
    bool m_isKilled = false;
};

} // namespace

class StormTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void round_data() { rounds::add(2); }

    void round()
    {
        QFETCH(uint, seed);
        rounds::begin(seed);
        Chance chance(seed);
        stored::clear();
        stored::writeReminder(false);
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
        startAll(chance);
        QVERIFY2(QTest::qWaitFor([&] { return isCalm(); }, patienceMs), qPrintable(told()));
        if (!QTest::currentTestFailed())
            judge();
        if (!QTest::currentTestFailed())
            nextStart();
    }

    void cleanup() { m_starts.clear(); }

private:
    void startAll(Chance &chance)
    {
        constexpr int longestPauseMs = 300;
        constexpr int latestKillMs = 3000;
        const bool atOnce = chance.oneIn(2);
        const int count = chance.between(2, 12);
        // In some storms nobody is killed, so that every other start has to hand over.
        const bool withKills = !chance.oneIn(3);
        for (int index = 0; index < count; ++index) {
            std::optional<int> killAfterMs;
            if (withKills && chance.oneIn(3))
                killAfterMs = chance.below(latestKillMs);
            m_starts.push_back(std::make_unique<Start>(killAfterMs));
            QVERIFY(m_starts.back()->isStarted());
            if (!atOnce)
                QTest::qWait(chance.below(longestPauseMs));
        }
        rounds::count("starts", count);
    }

    /// Whether all kills are done and at most one start runs on. Looks at the others meanwhile.
    bool isCalm()
    {
        qsizetype running = 0;
        qsizetype doomed = 0;
        qsizetype withWindow = 0;
        for (const auto &start : m_starts) {
            start->killIfDue();
            running += start->runs() ? 1 : 0;
            doomed += start->isDoomed() ? 1 : 0;
            withWindow += start->runs() && start->hasWindow() ? 1 : 0;
        }
        m_mostWindows = std::max(m_mostWindows, withWindow);
        return running <= 1 && doomed == 0 && withWindow == running;
    }

    void judge()
    {
        QCOMPARE(std::exchange(m_mostWindows, 0) <= 1, true);
        const auto killed =
            std::count_if(m_starts.begin(), m_starts.end(), [](auto &start) { return start->isKilled(); });
        qsizetype living = 0;
        for (const auto &start : m_starts) {
            const QString report = rounds::sanitizerReport(start->panel().errorOutput());
            QVERIFY2(report.isEmpty(), qPrintable(report));
            living += start->runs() ? 1 : 0;
            if (start->runs() || start->isKilled())
                continue;
            // Nobody takes the text where the first instance has been killed, or is too busy with its start.
            const bool mayFail = killed > 0 || start->lifeMs() >= handOverMs;
            QVERIFY2(start->code() == 0 || (start->code() == 1 && mayFail), qPrintable(told()));
            rounds::count(start->code() == 0 ? "handed over" : "handed over in vain");
        }
        // A start that handed over to one that was killed afterwards has gone too.
        QVERIFY2(living == 1 || (living == 0 && killed > 0), qPrintable(told()));
        rounds::count("kills", killed);
    }

    /// With a first instance it hands over, without one it is the first.
    void nextStart()
    {
        const auto first = std::find_if(m_starts.begin(), m_starts.end(), [](auto &start) { return start->runs(); });
        PanelProcess next;
        QVERIFY(next.start());
        rounds::count("starts");
        if (first == m_starts.end()) {
            QVERIFY2(next.waitForWindow(patienceMs), qPrintable(next.errorOutput()));
            rounds::count("starts after everybody was killed");
            QCOMPARE(next.close(), 0);
            return;
        }
        QVERIFY2((*first)->panel().waitForWindow(patienceMs), qPrintable((*first)->panel().errorOutput()));
        QCOMPARE(next.waitForExit(), 0);
        QCOMPARE((*first)->panel().close(), 0);
    }

    QString told()
    {
        QString text;
        for (const auto &start : m_starts) {
            text += QStringLiteral("%1 after %2 ms%3: %4\n")
                        .arg(QString::number(start->code()), QString::number(start->lifeMs()),
                             start->isKilled() ? QStringLiteral(", killed") : QString(),
                             start->panel().errorOutput().simplified());
        }
        return text;
    }

    std::vector<std::unique_ptr<Start>> m_starts;
    qsizetype m_mostWindows = 0;
};

QTEST_GUILESS_MAIN(StormTest)
#include "storm_test.moc"
