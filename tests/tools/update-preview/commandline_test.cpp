#include "feedtext.h"
#include "previewprocess.h"

#include <QTest>

/// What the program makes of its command line, and what it ends with.
class CommandLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void helpAndVersionAreResults_data();
    static void helpAndVersionAreResults();
    static void wrongLineEndsWithTwo_data();
    static void wrongLineEndsWithTwo();
    static void unreadableFileEndsWithTwo_data();
    static void unreadableFileEndsWithTwo();
};

void CommandLineTest::helpAndVersionAreResults_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("beginning");
    QTest::newRow("help") << QStringLiteral("--help") << QStringLiteral("Usage: update-preview --feed URL|FILE");
    QTest::newRow("short help") << QStringLiteral("-h") << QStringLiteral("Usage: update-preview --feed URL|FILE");
    QTest::newRow("version") << QStringLiteral("--version") << QStringLiteral("update-preview 1.");
}

void CommandLineTest::helpAndVersionAreResults()
{
    QFETCH(const QString, option);
    QFETCH(const QString, beginning);
    const Outcome outcome = runPreview({option});
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.out.startsWith(beginning), qPrintable(outcome.out));
    QCOMPARE(outcome.err, QString());
}

void CommandLineTest::wrongLineEndsWithTwo_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("complaint");
    const auto add = [](const char *line, const char *complaint) {
        QTest::newRow(line) << QString::fromLatin1(line) << QString::fromLatin1(complaint);
    };
    add("", "Say what to do");
    add("--lang ja", "Say what to do");
    add("--strict", "Say what to do");
    add("--feed", "--feed");
    add("--nonsense", "--nonsense");
    add("feed.json", "feed.json");
    add("--feed f --unit KD-MX4", "--unit and --firmware need each other");
    add("--feed f --firmware 1.00", "--unit and --firmware need each other");
    add("--feed f --lang xx", "no language \"xx\"");
    add("--feed f --lang Klingonese", "no language \"Klingonese\"");
    add("--feed f --strict", "--strict needs --check");
    add("--feed f --scale 4", "1 to 3");
    add("--feed f --scale 0.5", "1 to 3");
    add("--feed f --scale nan", "1 to 3");
    add("--feed f --scale big", "--scale");
    add("--gallery d --check f", "--gallery does not go with --check");
    add("--gallery d --lang ja", "--lang does not go with --gallery");
    add("--gallery d --feed http://127.0.0.1:1/f", "contacts nothing");
    add("--gallery d --feed HTTPS://127.0.0.1:1/f", "contacts nothing");
    add("--check f --unit KD-MX4", "--unit does not go with --check");
    add("--check f --feed f", "--feed does not go with --check");
}

void CommandLineTest::wrongLineEndsWithTwo()
{
    QFETCH(const QString, line);
    QFETCH(const QString, complaint);
    const Outcome outcome = runPreview(line.split(u' ', Qt::SkipEmptyParts));
    QCOMPARE(outcome.code, 2);
    QVERIFY2(outcome.err.contains(complaint), qPrintable(outcome.err));
    QVERIFY(outcome.err.startsWith(QStringLiteral("update-preview: ")));
    QCOMPARE(outcome.out, QString());
}

void CommandLineTest::unreadableFileEndsWithTwo_data()
{
    QTest::addColumn<QStringList>("arguments");
    const feedtext::Files files;
    const QString missing = files.path(QStringLiteral("missing"));
    QTest::newRow("check") << QStringList{QStringLiteral("--check"), missing};
    QTest::newRow("gallery") << QStringList{QStringLiteral("--gallery"), files.path(QStringLiteral("d")),
                                            QStringLiteral("--feed"), missing};
    QTest::newRow("folder") << QStringList{QStringLiteral("--check"), QStringLiteral("/")};
}

void CommandLineTest::unreadableFileEndsWithTwo()
{
    QFETCH(const QStringList, arguments);
    const Outcome outcome = runPreview(arguments);
    QCOMPARE(outcome.code, 2);
    QVERIFY2(outcome.err.contains(QStringLiteral("cannot be read")), qPrintable(outcome.err));
}

QTEST_GUILESS_MAIN(CommandLineTest)
#include "commandline_test.moc"
