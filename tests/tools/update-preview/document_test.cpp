#include "feedtext.h"
#include "previewprocess.h"
#include "updatefeed.h"
#include "updatetexts.h"

#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTest>

using updatefeed::Product;

/// The page, the example, the schema and the code say the same.
class DocumentTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void exampleOfThePageIsTheFile();
    static void exampleOfThePageIsFlawless();
    static void schemaNamesWhatThePanelReads();
    static void schemaNamesTheLanguagesOfTheTexts();
    static void pageNamesEveryKey();
    static void pageComparesAsThePanelDoes();
    static void pageNamesEveryLanguage();
};

namespace {

QByteArray sourceFile(const QString &name)
{
    QFile file(QStringLiteral(KDMX_SOURCES) + u'/' + name);
    if (!file.open(QIODevice::ReadOnly))
        QTest::qFail(qPrintable(name + QStringLiteral(" is missing")), __FILE__, __LINE__);
    return file.readAll();
}

QString page()
{
    return QString::fromUtf8(sourceFile(QStringLiteral("docs/update-feed.md")));
}

QByteArray exampleOfThePage()
{
    return page().section(QStringLiteral("```json\n"), 1).section(QStringLiteral("```"), 0, 0).toUtf8();
}

QJsonObject entrySchema()
{
    const QByteArray text = sourceFile(QStringLiteral("packaging/update-feed.schema.json"));
    const QJsonObject schema = QJsonDocument::fromJson(text).object();
    return schema[u"properties"].toObject()[u"Corvo9_version1"].toObject()[u"properties"].toObject();
}

/// All that the panel makes of an entry.
QStringList readBack(const QJsonObject &entry)
{
    QStringList all;
    for (const Product product : {Product::Software, Product::Firmware}) {
        all.append(updateversions::text(updatefeed::publishedVersion(entry, product)));
        all.append(updatefeed::packageUrl(entry, product, QLocale::Japanese));
        all.append(updatefeed::packageUrl(entry, product, QLocale::German));
    }
    return all << updatefeed::news(entry, QLocale::German) << updatefeed::news(entry, QLocale::English);
}

/// The rows of the table that begins with a row.
QList<QStringList> table(const QString &firstRow)
{
    QList<QStringList> rows;
    const QStringList lines = page().section(firstRow, 1).split(u'\n').mid(2);
    for (const QString &line : lines) {
        if (!line.startsWith(u'|'))
            break;
        QStringList cells;
        for (const QString &cell : line.split(u'|').mid(1))
            cells.append(cell.trimmed().remove(u'`'));
        rows.append(cells);
    }
    return rows;
}

} // namespace

void DocumentTest::exampleOfThePageIsTheFile()
{
    QCOMPARE(exampleOfThePage(), sourceFile(QStringLiteral("packaging/update-feed.example.json")));
}

void DocumentTest::exampleOfThePageIsFlawless()
{
    const feedtext::Files files;
    const Outcome outcome =
        runPreview({QStringLiteral("--check"), files.write(exampleOfThePage()), QStringLiteral("--strict")});
    QVERIFY2(outcome.code == 0, qPrintable(outcome.out + outcome.err));
}

void DocumentTest::schemaNamesWhatThePanelReads()
{
    const QJsonObject example = feedtext::goodEntry();
    const QJsonObject keys = entrySchema();
    QCOMPARE(keys.keys(), example.keys());
    // Each key by itself makes a difference to what is read.
    for (const QString &key : keys.keys()) {
        QJsonObject without = example;
        without.remove(key);
        QVERIFY2(readBack(without) != readBack(example), qPrintable(key));
    }
}

void DocumentTest::schemaNamesTheLanguagesOfTheTexts()
{
    const QStringList named = entrySchema()[u"messages"].toObject()[u"properties"].toObject().keys();
    QStringList expected{QStringLiteral("English")};
    for (int number = QLocale::C + 1; number <= QLocale::LastLanguage; ++number) {
        const auto language = static_cast<QLocale::Language>(number);
        if (updateTextRow(language) != 0)
            expected.append(QLocale::languageToString(language));
    }
    expected.sort();
    QCOMPARE(named, expected);
}

void DocumentTest::pageNamesEveryKey()
{
    QStringList named;
    for (const QStringList &row : table(QStringLiteral("| Key of the entry | Type | Meaning |")))
        named.append(row.first());
    named.sort();
    QCOMPARE(named, entrySchema().keys());
}

void DocumentTest::pageComparesAsThePanelDoes()
{
    const QList<QStringList> rows = table(QStringLiteral("| Published | Shown as | Compares as | |"));
    QVERIFY(rows.size() >= 5);
    for (const QStringList &row : rows) {
        const QByteArray numbers = '[' + row[0].toUtf8() + ']';
        const QJsonArray published = QJsonDocument::fromJson(numbers).array();
        const QJsonObject entry{{QStringLiteral("firmware_version_major"), published[0]},
                                {QStringLiteral("firmware_version_minor"), published[1]}};
        const updateversions::Published version = updatefeed::publishedVersion(entry, Product::Firmware);
        QCOMPARE(updateversions::text(version), row[1]);
        QCOMPARE(QStringLiteral("%1, %2")
                     .arg(updateversions::publishedMajor(version.major))
                     .arg(updateversions::publishedMinor(version.minor)),
                 row[2]);
        static const QRegularExpression versions(QStringLiteral("\\d\\.\\d\\d"));
        const bool isNewer = !row[3].contains(QStringLiteral("**not**"));
        for (auto found = versions.globalMatch(row[3]); found.hasNext();)
            QCOMPARE(updateversions::isNewer(found.next().captured(), version.major, version.minor), isNewer);
    }
}

void DocumentTest::pageNamesEveryLanguage()
{
    const QList<QStringList> rows = table(QStringLiteral("| User's language | Texts | Package | News |"));
    QCOMPARE(rows.size(), updateTextRowCount + 1);
    const QJsonObject entry = feedtext::goodEntry();
    for (int row = 0; row < updateTextRowCount; ++row) {
        const QLocale::Language language = QLocale::codeToLanguage(
            QStringList{QStringLiteral("en"), QStringLiteral("fr"), QStringLiteral("es"), QStringLiteral("de"),
                        QStringLiteral("it"), QStringLiteral("ja"), QStringLiteral("zh")}[row]);
        QCOMPARE(rows[row][0], QLocale::languageToString(language));
        QCOMPARE(updateTextRow(language), row);
        const QString edition = rows[row][2] == u"_ja" ? QStringLiteral("windows_software_url_ja")
                                                       : QStringLiteral("windows_software_url_en");
        QCOMPARE(updatefeed::packageUrl(entry, Product::Software, language), entry[edition].toString());
    }
}

QTEST_GUILESS_MAIN(DocumentTest)
#include "document_test.moc"
