#include "feedtext.h"
#include "previewprocess.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTest>

#include <csignal>

#include <sys/stat.h>

/// Ctrl-C and the signal to end, whatever the program is at. Nothing of it lies about afterwards.
class InterruptsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void initTestCase();
    static void endAnyTask_data();
    static void endAnyTask();
    static void endACheckUnderWay();
    static void endAGalleryUnderWay();
    static void areIgnoredWhereTheyWereBefore();
};

namespace {

/// A pipe that nobody writes to yet.
QString pipeIn(const feedtext::Files &files)
{
    const QString name = files.path(QStringLiteral("pipe"));
    mkfifo(QFile::encodeName(name).constData(), S_IRUSR | S_IWUSR);
    return name;
}

/// Starts the program without a display. From the time that its folder is there, signals are taken note of.
bool startToFolder(PreviewProcess *process, const QStringList &arguments)
{
    constexpr int patienceMs = 60'000;
    process->setVariable(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process->start(arguments);
    return QTest::qWaitFor([&] { return !process->hasLeftNothing(); }, patienceMs);
}

void sendSignal(const PreviewProcess &process, int number)
{
    kill(static_cast<pid_t>(process.pid()), number);
}

/// News in every language, each of which is laid out to see whether it fits.
QByteArray manyNews()
{
    QJsonObject messages;
    for (int number = QLocale::C + 1; number <= QLocale::LastLanguage; ++number)
        messages[QLocale::languageToString(static_cast<QLocale::Language>(number))] = QStringLiteral("News");
    QJsonObject entry = feedtext::goodEntry();
    entry[QStringLiteral("messages")] = messages;
    return feedtext::withEntry(entry);
}

} // namespace

void InterruptsTest::initTestCase()
{
    // Not left to chance: a test runner in the background hands down that they are ignored.
    for (const int number : {SIGINT, SIGTERM})
        std::signal(number, SIG_DFL);
}

void InterruptsTest::endAnyTask_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("number");
    const auto add = [](const char *name, const QStringList &arguments) {
        QTest::addRow("%s, interrupted", name) << arguments << SIGINT;
        QTest::addRow("%s, asked to end", name) << arguments << SIGTERM;
    };
    add("run", {QStringLiteral("--feed"), QStringLiteral("PIPE")});
    add("gallery",
        {QStringLiteral("--gallery"), QStringLiteral("FOLDER"), QStringLiteral("--feed"), QStringLiteral("PIPE")});
    add("check", {QStringLiteral("--check"), QStringLiteral("PIPE")});
}

void InterruptsTest::endAnyTask()
{
    QFETCH(QStringList, arguments);
    QFETCH(const int, number);
    const feedtext::Files files;
    arguments.replaceInStrings(QStringLiteral("PIPE"), pipeIn(files));
    arguments.replaceInStrings(QStringLiteral("FOLDER"), files.path(QStringLiteral("gallery")));
    PreviewProcess process;
    QVERIFY2(startToFolder(&process, arguments), qPrintable(process.error()));
    sendSignal(process, number);
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 130);
    QCOMPARE(outcome.out, QString());
    QVERIFY2(outcome.err.endsWith(QStringLiteral("/pipe was not read to its end.\n")), qPrintable(outcome.err));
    QVERIFY(process.hasLeftNothing());
}

void InterruptsTest::endACheckUnderWay()
{
    const feedtext::Files files;
    PreviewProcess process;
    const QString file = files.write(manyNews());
    QVERIFY2(startToFolder(&process, {QStringLiteral("--check"), file}), qPrintable(process.error()));
    sendSignal(process, SIGINT);
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 130);
    // What it has found by then may not be all.
    QCOMPARE(outcome.out, QString());
    QVERIFY(process.hasLeftNothing());
}

void InterruptsTest::endAGalleryUnderWay()
{
    const feedtext::Files files;
    const QDir folder(files.path(QStringLiteral("gallery")));
    PreviewProcess process;
    QVERIFY2(startToFolder(&process, {QStringLiteral("--gallery"), folder.path()}), qPrintable(process.error()));
    QTRY_VERIFY(folder.exists(QStringLiteral("en-program-offer.png")));
    sendSignal(process, SIGTERM);
    const Outcome outcome = process.finish();
    QCOMPARE(outcome.code, 130);
    QCOMPARE(outcome.out, QString());
    QVERIFY(!folder.exists(QStringLiteral("index.html")));
    QVERIFY(process.hasLeftNothing());
}

void InterruptsTest::areIgnoredWhereTheyWereBefore()
{
    const feedtext::Files files;
    const QString pipe = pipeIn(files);
    PreviewProcess process;
    std::signal(SIGINT, SIG_IGN);
    const bool hasStarted = startToFolder(&process, {QStringLiteral("--check"), pipe});
    std::signal(SIGINT, SIG_DFL);
    QVERIFY2(hasStarted, qPrintable(process.error()));
    sendSignal(process, SIGINT);
    QFile feed(pipe);
    QVERIFY(feed.open(QIODevice::WriteOnly) && feed.write(feedtext::withEntry(feedtext::goodEntry())) > 0);
    feed.close();
    const Outcome outcome = process.finish();
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    QVERIFY(process.hasLeftNothing());
}

QTEST_GUILESS_MAIN(InterruptsTest)
#include "interrupts_posix_test.moc"
