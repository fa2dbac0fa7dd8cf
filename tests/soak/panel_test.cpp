// The real panel, killed at moments chosen by chance: while it starts, among changes that it saves, at its reminder.
// After each kill its settings are whole and hold what was last stored or was just being stored, and the next start
// shows a window.

#include "chance.h"
#include "keystream.h"
#include "panelprocess.h"
#include "panelstores.h"
#include "realinput.h"
#include "rounds.h"
#include "storedsettings.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <utility>

namespace {

using panelstores::Content;

const QString mainTitle = QStringLiteral("VELMAR KD-MX Series");
const QString reminderTitle = QStringLiteral("VELMAR KD-MX Series Information");

const QString off = QStringLiteral("false");
const QStringList bufferSizes = {QStringLiteral("64"),  QStringLiteral("128"),  QStringLiteral("256"),
                                 QStringLiteral("512"), QStringLiteral("1024"), QStringLiteral("2048")};
const QString int32 = QStringLiteral("18");
const QString float32 = QStringLiteral("19");

// A start that waits for what a killed one has left does so for half a minute.
constexpr int patienceMs = 25'000;

/// What the stores hold, one after another, while something is done.
using Steps = QList<Content>;

/// A start repairs what it does not know, one value after the other.
Steps ofStart(Content content)
{
    Steps steps = {content};
    if (!bufferSizes.contains(content.blockFrames)) {
        content.blockFrames = QStringLiteral("256");
        steps.append(content);
    }
    if (content.sampleType != int32 && content.sampleType != float32) {
        content.sampleType = int32;
        steps.append(content);
    }
    return steps;
}

} // namespace

class PanelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void round_data() { rounds::add(1); }

    void round()
    {
        QFETCH(uint, seed);
        rounds::begin(seed);
        m_chance.emplace(seed);
        stored::clear();
        stored::writeReminder(false);
        stored::writeDriver(QStringLiteral("256"), int32);
        m_held = panelstores::content();
        QList<Moment> moments = {Moment::Start,       Moment::Reminder,    Moment::SampleFormats,
                                 Moment::BufferSizes, Moment::BufferSizes, Moment::BufferSizes};
        while (!moments.isEmpty() && !QTest::currentTestFailed())
            liveUntil(moments.takeAt(m_chance->below(static_cast<int>(moments.size()))));
        if (!QTest::currentTestFailed())
            liveToTheEnd();
    }

    void cleanup() { m_panel.reset(); }

private:
    /// When the panel is killed.
    enum class Moment { Start, Reminder, SampleFormats, BufferSizes };

    void liveUntil(Moment moment)
    {
        switch (moment) {
        case Moment::Start:
            return killInTheStart();
        case Moment::Reminder:
            return killAtTheReminder();
        case Moment::SampleFormats:
            return killAmongSampleFormats();
        case Moment::BufferSizes:
            return killAmongBufferSizes();
        }
    }

    void killInTheStart()
    {
        if (m_chance->oneIn(2)) {
            // What it has to repair, or to make.
            const bool exists = m_chance->oneIn(2);
            stored::writeDriver(exists ? QStringLiteral("300") : QString(), exists ? QStringLiteral("0") : QString());
            m_held = panelstores::content();
        }
        start();
        killAfter(m_chance->below(m_startMs + m_startMs / 4));
        rounds::count("kills in the start");
        judge(ofStart(m_held), 0, true);
    }

    void killAtTheReminder()
    {
        stored::writeReminder(true);
        m_held.panelReminder = QStringLiteral("true");
        start();
        QVERIFY2(m_panel->waitForWindow(reminderTitle, patienceMs), qPrintable(m_panel->errorOutput()));
        m_held = ofStart(m_held).constLast();
        const KeyStream keys({QStringLiteral("Tab"), QStringLiteral("space"), QStringLiteral("Return")}, pause());
        killAfter(m_chance->below(120));
        rounds::count("kills at the reminder");

        Steps steps = {m_held, m_held, m_held};
        steps[1].panelReminder = off;
        steps[2].panelReminder = off;
        steps[2].driverReminder = off;
        judge(steps, changesTold().has_value() ? 2 : 0, true);
    }

    void killAmongBufferSizes()
    {
        show();
        if (QTest::currentTestFailed())
            return;
        QStringList keys = {QStringLiteral("Tab")};
        Steps steps = {m_held};
        auto index = bufferSizes.indexOf(m_held.blockFrames);
        for (int count = m_chance->between(1, 20); count > 0; --count) {
            const bool up = index == bufferSizes.size() - 1 || (index > 0 && m_chance->oneIn(2));
            index += up ? -1 : 1;
            keys.append(up ? QStringLiteral("Up") : QStringLiteral("Down"));
            steps.append(m_held);
            steps.last().blockFrames = bufferSizes[index];
        }
        killAmong(keys, steps);
        rounds::count("kills among buffer sizes");
    }

    void killAmongSampleFormats()
    {
        show();
        if (QTest::currentTestFailed())
            return;
        QStringList keys = {QStringLiteral("ctrl+Tab"), QStringLiteral("Tab")};
        Steps steps = {m_held};
        for (int count = m_chance->between(1, 20); count > 0; --count) {
            // The two buttons stand side by side, ON on the left.
            const bool isOn = steps.constLast().sampleType == float32;
            keys.append(isOn ? QStringLiteral("Right") : QStringLiteral("Left"));
            steps.append(m_held);
            steps.last().sampleType = isOn ? int32 : float32;
        }
        killAmong(keys, steps);
        rounds::count("kills among sample formats");
    }

    /// Each key after the first ones is a step, and the panel reports each that it has stored.
    void killAmong(const QStringList &keys, const Steps &steps)
    {
        const KeyStream stream(keys, pause());
        // However slow the machine is: in the middle of what is saved.
        const int before = m_chance->below(static_cast<int>(steps.size()));
        QVERIFY2(QTest::qWaitFor([&] { return changesTold().value_or(QStringList()).size() >= before; }, patienceMs),
                 qPrintable(m_panel->errorOutput()));
        killAfter(m_chance->below(30));
        const std::optional<QStringList> told = changesTold();
        QVERIFY2(told.has_value() && told->size() < steps.size(), qPrintable(m_panel->errorOutput()));
        rounds::count("changes stored", told->size());
        judge(steps, told->size(), false);
    }

    /// Changes something, closes the window, and leaves nothing behind but what kills had left of the other store.
    void liveToTheEnd()
    {
        QStringList remains = panelstores::locks() + panelstores::temporaryFiles();
        // A panel that saves takes over the lock that a killed one has left.
        remains.removeIf([](const QString &file) { return file.endsWith(QStringLiteral("/ASIODRIVER.conf.lock")); });
        show();
        if (QTest::currentTestFailed())
            return;
        const bool up = m_held.blockFrames == bufferSizes.constLast();
        m_held.blockFrames = bufferSizes[bufferSizes.indexOf(m_held.blockFrames) + (up ? -1 : 1)];
        realinput::key(QStringLiteral("Tab"));
        realinput::key(up ? QStringLiteral("Up") : QStringLiteral("Down"));
        QTRY_COMPARE(stored::driverValue(QStringLiteral("blockFrames")), m_held.blockFrames);
        const int code = m_panel->close();
        QVERIFY2(code == 0, qPrintable(QString::number(code) + u'\n' + m_panel->errorOutput()));
        rounds::count("ends");
        judge({m_held}, 0, true);
        for (const QString &file : panelstores::locks() + panelstores::temporaryFiles())
            QVERIFY2(remains.contains(file), qPrintable(file));
    }

    void start()
    {
        m_panel = std::make_unique<PanelProcess>();
        QVERIFY(m_panel->start());
        rounds::count("starts");
    }

    /// Starts and waits for the window, after the reminder where that is on.
    void show()
    {
        QElapsedTimer time;
        time.start();
        start();
        if (m_held.panelReminder != off) {
            QVERIFY2(m_panel->waitForWindow(reminderTitle, patienceMs), qPrintable(m_panel->errorOutput()));
            realinput::key(QStringLiteral("Escape"));
        }
        QVERIFY2(m_panel->waitForWindow(patienceMs), qPrintable(m_panel->errorOutput()));
        m_startMs = static_cast<int>(time.elapsed());
        m_held = ofStart(m_held).constLast();
    }

    /// Without serving anything meanwhile, so that the moment is not moved.
    void killAfter(int milliseconds)
    {
        m_hadLocks = panelstores::locks();
        m_hadTemporaryFiles = panelstores::temporaryFiles();
        QTest::qSleep(milliseconds);
        QCOMPARE(m_panel->waitForExit(0), -1);
        m_panel->kill();
        QCOMPARE(m_panel->waitForExit(), -2);
    }

    /// What the panel said of changes since its window was made; none if it has not come so far.
    std::optional<QStringList> changesTold() const
    {
        const QStringList lines = m_panel->errorOutput().split(u'\n', Qt::SkipEmptyParts);
        const auto made = lines.indexOf(QStringLiteral("MainWindow End"));
        if (made == -1)
            return std::nullopt;
        return lines.mid(made + 1).filter(QStringLiteral("Change "));
    }

    /**
     * The stores are whole and hold the step that the panel has reported, or the next one, which it was just storing.
     *
     * @param orLater  a later one as well, for the panel does not report each
     */
    void judge(const Steps &steps, qsizetype told, bool orLater)
    {
        const QString report = rounds::sanitizerReport(m_panel->errorOutput());
        QVERIFY2(report.isEmpty(), qPrintable(report));
        const QString damage = panelstores::damage();
        QVERIFY2(damage.isEmpty(), qPrintable(damage));
        const Content content = panelstores::content();
        const Steps allowed = orLater ? steps.mid(told) : steps.mid(told, 2);
        QVERIFY2(allowed.contains(content),
                 qPrintable(QStringLiteral("after %1 changes:\n%2\nthere is\n%3")
                                .arg(QString::number(told), toText(steps[told]), toText(content))));
        m_held = content;
        if (panelstores::locks() != m_hadLocks || panelstores::temporaryFiles() != m_hadTemporaryFiles)
            rounds::count("kills that met a save");
    }

    int pause() { return m_chance->between(1, 12); }

    std::optional<Chance> m_chance;
    std::unique_ptr<PanelProcess> m_panel;
    Content m_held; ///< when last looked at
    QStringList m_hadLocks;
    QStringList m_hadTemporaryFiles;
    int m_startMs = 1000; ///< of the last start that showed its window
};

QTEST_GUILESS_MAIN(PanelTest)
#include "panel_test.moc"
