#include "feedtext.h"
#include "previewprocess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>

/// What --check finds, and who it says is offered what.
class CheckTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void goodDocumentHasNoFindings();
    static void faultIsNamedByItsPlace_data();
    static void faultIsNamedByItsPlace();
    static void mistakeIsWarnedOf_data();
    static void mistakeIsWarnedOf();
    static void newsMayHaveTheMostLetters();
    static void strictTakesWarningsForErrors();
    static void everyFaultIsNamed();
    static void offersAreTold_data();
    static void offersAreTold();
    static void fileMayBeginWithAByteOrderMark();
};

namespace {

Outcome check(const QByteArray &content, const QStringList &further = {})
{
    const feedtext::Files files;
    return runPreview(QStringList{QStringLiteral("--check"), files.write(content)} + further);
}

/// Changes to a good entry: key, and the value as JSON; without a value the key is removed.
QByteArray changed(const QStringList &changes)
{
    QJsonObject entry = feedtext::goodEntry();
    for (const QString &change : changes) {
        const QString key = change.section(u'=', 0, 0);
        const QByteArray wrapped = "[" + change.section(u'=', 1).toUtf8() + "]";
        const QJsonValue value = QJsonDocument::fromJson(wrapped).array().at(0);
        if (key.startsWith(u'@')) {
            QJsonObject messages = entry[QStringLiteral("messages")].toObject();
            value.isUndefined() ? messages.remove(key.mid(1)) : (void)messages.insert(key.mid(1), value);
            entry[QStringLiteral("messages")] = messages;
        } else if (value.isUndefined()) {
            entry.remove(key);
        } else {
            entry[key] = value;
        }
    }
    return feedtext::withEntry(entry);
}

/// What Qt would never lay out.
const QString nestedTables = QStringLiteral("<table><tr><td>").repeated(40);

/// The change that gives Japanese users news of so many letters.
QString newsOfLetters(int letters)
{
    return QStringLiteral("@Japanese=\"%1\"").arg(QStringLiteral("News").leftJustified(letters));
}

QStringList linesOf(const Outcome &outcome, const QString &kind)
{
    return outcome.out.split(u'\n').filter(QRegularExpression(u'^' + kind + QStringLiteral(": ")));
}

} // namespace

void CheckTest::goodDocumentHasNoFindings()
{
    const Outcome outcome = check(changed({}), {QStringLiteral("--strict")});
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.out.contains(QStringLiteral(": valid, 0 errors and 0 warnings\n")), qPrintable(outcome.out));
    QCOMPARE(outcome.err, QString());
}

void CheckTest::faultIsNamedByItsPlace_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("line");
    const auto add = [](const char *name, const QByteArray &content, const char *line) {
        QTest::newRow(name) << content << QString::fromUtf8(line);
    };
    add("empty file", "", "error: \"\": This is no JSON: line 1, column 1: ");
    add("no JSON", "{\n  \"a\": 1,\n  b\n}", "error: \"\": This is no JSON: line 3, column ");
    add("not UTF-8", "{\"a\": \"\xff\xfe\"}", "error: \"\": This is not valid UTF-8.");
    add("cut in a letter", changed({}) + "\xe3\x81", "error: \"\": This is not valid UTF-8.");
    add("array at the top", "[1]", "error: \"\": Here stands an array where an object belongs.");
    add("no entry", "{}", "error: \"\": The key \"Corvo9_version1\" is missing: nobody is told anything.");
    add("entry is a text", "{\"Corvo9_version1\": \"1.11\"}",
        "error: \"/Corvo9_version1\": Here stands the text \"1.11\" where an object belongs.");
    add("number as text", changed({QStringLiteral("windows_software_version_minor=\"11\"")}),
        "error: \"/Corvo9_version1/windows_software_version_minor\": Here stands the text \"11\" where a number from 0 "
        "to 2147483647 belongs.");
    add("negative number", changed({QStringLiteral("firmware_version_major=-1")}),
        "error: \"/Corvo9_version1/firmware_version_major\": Here stands the number -1 where a number from 0 to "
        "2147483647 belongs.");
    add("huge number", changed({QStringLiteral("firmware_version_minor=4294967296")}),
        "error: \"/Corvo9_version1/firmware_version_minor\": Here stands the number 4294967296 where");
    add("address is null", changed({QStringLiteral("windows_firmware_url_ja=null")}),
        "error: \"/Corvo9_version1/windows_firmware_url_ja\": Here stands null where a text belongs.");
    add("messages are an array", changed({QStringLiteral("messages=[]")}),
        "error: \"/Corvo9_version1/messages\": Here stands an array where an object belongs.");
    add("message is a number", changed({QStringLiteral("@German=1")}),
        "error: \"/Corvo9_version1/messages/German\": Here stands the number 1 where a text belongs.");
    add("further message is an object", changed({QStringLiteral("@Dutch={}")}),
        "error: \"/Corvo9_version1/messages/Dutch\": Here stands an object where a text belongs.");
    add("pointer is escaped", changed({QStringLiteral("@a/b~c=false")}),
        "error: \"/Corvo9_version1/messages/a~1b~0c\": Here stands false where a text belongs.");
}

void CheckTest::faultIsNamedByItsPlace()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, line);
    const Outcome outcome = check(content);
    QCOMPARE(outcome.code, 1);
    const QStringList errors = linesOf(outcome, QStringLiteral("error"));
    QVERIFY2(errors.size() == 1 && errors.first().startsWith(line), qPrintable(outcome.out));
    QVERIFY2(outcome.out.contains(QStringLiteral(": INVALID")), qPrintable(outcome.out));
}

void CheckTest::mistakeIsWarnedOf_data()
{
    QTest::addColumn<QStringList>("changes");
    QTest::addColumn<QString>("line");
    const auto add = [](const char *name, const QStringList &changes, const char *line) {
        QTest::newRow(name) << changes << QString::fromUtf8(line);
    };
    const QString softwareJa = QStringLiteral("windows_software_url_ja=");
    add("minor of three digits", {QStringLiteral("windows_software_version_minor=110")},
        "/windows_software_version_minor\": Only the first two characters count: 110 compares as 11.");
    add("major of two digits", {QStringLiteral("firmware_version_major=12")},
        "/firmware_version_major\": Only the first character counts: 12 compares as 1.");
    add("half a number", {QStringLiteral("firmware_version_minor=5.5")},
        "/firmware_version_minor\": 5.5 is no whole number: the panel reads 0.");
    add("half a version", {QStringLiteral("firmware_version_minor")},
        "/firmware_version_minor\": The other half of this version is there, this one is missing: the panel reads 0.");
    add("http", {softwareJa + QStringLiteral("\"http://a.example/a.exe\"")},
        "/windows_software_url_ja\": The package does not come by https: anybody on the way can replace it.");
    add("neither exe nor zip", {softwareJa + QStringLiteral("\"https://a.example/a.exe?token=1\"")},
        "/windows_software_url_ja\": The address ends neither in .exe nor in .zip");
    add("relative", {softwareJa + QStringLiteral("\"/packages/a.exe\"")},
        "/windows_software_url_ja\": This is no full address: the panel cannot download the package.");
    add("no host", {softwareJa + QStringLiteral("\"https:///a.exe\"")},
        "/windows_software_url_ja\": This is no full address: the panel cannot download the package.");
    add("file", {softwareJa + QStringLiteral("\"file:///a.exe\"")},
        "/windows_software_url_ja\": The panel must not be offered this: only https is safe.");
    add("ftp", {softwareJa + QStringLiteral("\"ftp://a.example/a.exe\"")},
        "/windows_software_url_ja\": The panel must not be offered this: only https is safe.");
    add("blank behind", {softwareJa + QStringLiteral("\"https://a.example/a.exe \"")},
        "/windows_software_url_ja\": There is a blank at an end of the address.");
    add("no package", {QStringLiteral("windows_firmware_url_en")},
        "/windows_firmware_url_en\": There is no package for all other users: who accepts the offer sees the error "
        "box.");
    add("misspelt key", {QStringLiteral("firmware_versoin_minor=5")},
        "/firmware_versoin_minor\": The panel does not know this key. Did you mean \"firmware_version_minor\"?");
    add("unknown key", {QStringLiteral("colour=\"red\"")}, "/colour\": The panel does not know this key.");
    add("language in lower case", {QStringLiteral("@german=\"x\"")},
        "/messages/german\": This is the English name of no language. Did you mean \"German\"?");
    add("misspelt language", {QStringLiteral("@Germn=\"x\"")},
        "/messages/Germn\": This is the English name of no language. Did you mean \"German\"?");
    add("no such language", {QStringLiteral("@Klingon=\"x\"")},
        "/messages/Klingon\": This is the English name of no language.");
    add("missing language", {QStringLiteral("@German")},
        "/messages/German\": There is no German news: these users see the English.");
    add("empty language", {QStringLiteral("@Chinese=\"\"")},
        "/messages/Chinese\": There is no Chinese news: these users see the English.");
    add("missing English", {QStringLiteral("@English")},
        "/messages/English\": There is no English news: users of most languages see none.");
    add("news is too long", {QStringLiteral("@Japanese=\"1<br>2<br>3<br>4<br>5<br>6<br>7<br>8\"")},
        "/messages/Japanese\": The news is longer than the window shows; the rest is cut.");
    add("news is too heavy", {QStringLiteral("@Japanese=\"%1News\"").arg(nestedTables)},
        "/messages/Japanese\": The news is too much to lay out: it is shown as text, without its markup.");
    // Blanks are letters too, but take no room in the window.
    add("news has too many letters", {newsOfLetters(65'537)},
        "/messages/Japanese\": The news has more than 65536 letters: it is cut there, and comes back at every start.");
}

void CheckTest::mistakeIsWarnedOf()
{
    QFETCH(const QStringList, changes);
    QFETCH(const QString, line);
    const Outcome outcome = check(changed(changes));
    QCOMPARE(outcome.code, 0);
    const QStringList warnings = linesOf(outcome, QStringLiteral("warning"));
    const QString expected = QStringLiteral("warning: \"/Corvo9_version1") + line;
    QVERIFY2(warnings.size() == 1 && warnings.first().startsWith(expected), qPrintable(outcome.out));
}

void CheckTest::newsMayHaveTheMostLetters()
{
    const Outcome outcome = check(changed({newsOfLetters(65'536)}), {QStringLiteral("--strict")});
    QVERIFY2(outcome.code == 0, qPrintable(outcome.out));
}

void CheckTest::strictTakesWarningsForErrors()
{
    const QByteArray content = changed({QStringLiteral("colour=1")});
    QCOMPARE(check(content).code, 0);
    const Outcome outcome = check(content, {QStringLiteral("--strict")});
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.out.contains(QStringLiteral(": INVALID, 0 errors and 1 warning\n")), qPrintable(outcome.out));
}

void CheckTest::everyFaultIsNamed()
{
    const Outcome outcome =
        check(changed({QStringLiteral("firmware_version_major=\"1\""), QStringLiteral("windows_software_url_en=7"),
                       QStringLiteral("@French=true"), QStringLiteral("@Dutch=[]")}));
    QCOMPARE(outcome.code, 1);
    QCOMPARE(linesOf(outcome, QStringLiteral("error")).size(), 4);
}

void CheckTest::offersAreTold_data()
{
    QTest::addColumn<QStringList>("changes");
    QTest::addColumn<QString>("firmware");
    QTest::addColumn<QStringList>("lines");
    const auto text = [](const char *words) { return QString::fromUtf8(words); };
    QTest::newRow("both")
        << QStringList() << QString()
        << QStringList{text("Program: 1.11 is published, this program is 1.10."),
                       text("  Japanese users    https://cdn.velmar.example/kd-mx/1.11/KD-MX_Panel_1.11_ja.zip"),
                       text("  all other users   https://cdn.velmar.example/kd-mx/1.11/KD-MX_Panel_1.11.zip"),
                       text("Firmware: 1.05 is published."),
                       text("  units with        firmware 0.00 to 1.04 are offered it"),
                       text("  Japanese users    https://cdn.velmar.example/kd-mx/fw-1.05/KD-MX_Firmware_1.05_ja.exe"),
                       text("  English           \"Settings Panel 1.11 Remembers its place on the sc…\""),
                       text("  any other         the English news")};
    QTest::newRow("program is not newer")
        << QStringList{text("windows_software_version_minor=10")} << QString()
        << QStringList{text("Program: 1.10 is published, this program is 1.10."),
                       text("  all users         are offered nothing: it is not newer")};
    QTest::newRow("program compares as older")
        << QStringList{text("windows_software_version_minor=100")} << QString()
        << QStringList{text("Program: 1.100 is published, this program is 1.10."),
                       text("  all users         are offered nothing: it is not newer")};
    QTest::newRow("older firmware")
        << QStringList() << text("1.04")
        << QStringList{text("Firmware: 1.05 is published, the unit has 1.04."),
                       text("  all other users   https://cdn.velmar.example/kd-mx/fw-1.05/KD-MX_Firmware_1.05.exe")};
    QTest::newRow("same firmware") << QStringList() << text("1.05")
                                   << QStringList{text("Firmware: 1.05 is published, the unit has 1.05."),
                                                  text("  all users         are offered nothing: it is not newer")};
    QTest::newRow("no unit") << QStringList() << text("No Device")
                             << QStringList{text("Firmware: 1.05 is published, the unit has No Device."),
                                            text("  all users         are offered nothing: that is no version")};
    QTest::newRow("no firmware") << QStringList{text("firmware_version_major"), text("firmware_version_minor")}
                                 << QString()
                                 << QStringList{text("Firmware: 0.00 is published."),
                                                text("  all units         are offered nothing: none is older")};
    QTest::newRow("fallback and further language")
        << QStringList{text("@German"), text("@Dutch=\"<b>Nieuw</b>\"")} << QString()
        << QStringList{text("  German            the English news"), text("  Dutch             \"Nieuw\"")};
    QTest::newRow("news without its markup")
        << QStringList{QStringLiteral("@German=\"%1News &amp; more\"").arg(nestedTables)} << QString()
        << QStringList{text("  German            \"News & more\"")};
    QTest::newRow("no news") << QStringList{text("messages")} << QString()
                             << QStringList{text("  Japanese          nothing"), text("  any other         nothing")};
}

void CheckTest::offersAreTold()
{
    QFETCH(const QStringList, changes);
    QFETCH(const QString, firmware);
    QFETCH(const QStringList, lines);
    const QStringList further =
        firmware.isEmpty() ? QStringList() : QStringList{QStringLiteral("--firmware"), firmware};
    const Outcome outcome = check(changed(changes), further);
    QCOMPARE(outcome.code, 0);
    for (const QString &line : lines)
        QVERIFY2(outcome.out.split(u'\n').contains(line),
                 qPrintable(line + QStringLiteral("\nis not in\n") + outcome.out));
}

void CheckTest::fileMayBeginWithAByteOrderMark()
{
    QCOMPARE(check("\xef\xbb\xbf" + changed({})).code, 0);
}

QTEST_GUILESS_MAIN(CheckTest)
#include "check_test.moc"
