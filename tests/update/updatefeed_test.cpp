#include "updatefeed.h"

#include <QJsonArray>
#include <QTest>

using updatefeed::Product;

namespace {

const QString otherTypes[] = {QStringLiteral("null"), QStringLiteral("true"), QStringLiteral("1"),
                              QStringLiteral("[\"a\"]"), QStringLiteral("{\"a\": \"b\"}")};

QJsonObject object(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

/// An entry of one key.
QJsonObject entryWith(const QString &key, const QString &value)
{
    return object(QStringLiteral("{\"") + key + QStringLiteral("\": ") + value + u'}');
}

} // namespace

class UpdateFeedTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void entryOfADocument_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("found");
        QTest::newRow("entry") << QByteArray(R"({"Corvo9_version1": {"a": 1}})") << true;
        QTest::newRow("among others") << QByteArray(R"({"x": 1, "Corvo9_version1": {"a": 1}, "y": {}})") << true;
        QTest::newRow("empty entry") << QByteArray(R"({"Corvo9_version1": {}})") << false;
        QTest::newRow("other key") << QByteArray(R"({"Corvo9_version2": {"a": 1}})") << false;
        QTest::newRow("other case") << QByteArray(R"({"corvo9_version1": {"a": 1}})") << false;
        QTest::newRow("too deep") << QByteArray(R"({"x": {"Corvo9_version1": {"a": 1}}})") << false;
        QTest::newRow("array") << QByteArray(R"([{"Corvo9_version1": {"a": 1}}])") << false;
        QTest::newRow("entry is a text") << QByteArray(R"({"Corvo9_version1": "a"})") << false;
        QTest::newRow("entry is a number") << QByteArray(R"({"Corvo9_version1": 1})") << false;
        QTest::newRow("entry is an array") << QByteArray(R"({"Corvo9_version1": [{"a": 1}]})") << false;
        QTest::newRow("entry is null") << QByteArray(R"({"Corvo9_version1": null})") << false;
        QTest::newRow("nothing") << QByteArray() << false;
        QTest::newRow("no JSON") << QByteArray("<html></html>") << false;
        QTest::newRow("half a document") << QByteArray(R"({"Corvo9_version1": {"a": 1)") << false;
        QTest::newRow("something behind it") << QByteArray(R"({"Corvo9_version1": {"a": 1}} x)") << false;
        QTest::newRow("deep nesting") << QByteArray(100'000, '[') << false;
    }

    void entryOfADocument()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, found);
        const QJsonObject entry = updatefeed::entryOf(QJsonDocument::fromJson(text));
        QCOMPARE(entry, found ? QJsonObject({{QStringLiteral("a"), 1}}) : QJsonObject());
    }

    void versionNumbers_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<int>("number");
        QTest::newRow("number") << "7" << 7;
        QTest::newRow("nought") << "0" << 0;
        QTest::newRow("negative") << "-7" << -7;
        QTest::newRow("whole as a fraction") << "7.0" << 7;
        QTest::newRow("whole in exponents") << "1e2" << 100;
        QTest::newRow("fraction") << "1.5" << 0;
        QTest::newRow("greatest") << "2147483647" << 2147483647;
        QTest::newRow("too great") << "2147483648" << 0;
        QTest::newRow("much too great") << "1e300" << 0;
        QTest::newRow("text") << "\"7\"" << 0;
        QTest::newRow("null") << "null" << 0;
        QTest::newRow("true") << "true" << 0;
        QTest::newRow("array") << "[7]" << 0;
        QTest::newRow("object") << "{\"7\": 7}" << 0;
    }

    void versionNumbers()
    {
        QFETCH(QString, value);
        QFETCH(int, number);
        const struct
        {
            Product product;
            QString major;
            QString minor;
        } keys[] = {
            {Product::Software, QStringLiteral("windows_software_version_major"),
             QStringLiteral("windows_software_version_minor")},
            {Product::Firmware, QStringLiteral("firmware_version_major"), QStringLiteral("firmware_version_minor")},
        };
        const auto other = [](Product product) {
            return product == Product::Software ? Product::Firmware : Product::Software;
        };
        for (const auto &key : keys) {
            const QJsonObject major = entryWith(key.major, value);
            QCOMPARE(updatefeed::publishedVersion(major, key.product).major, QString::number(number));
            QCOMPARE(updatefeed::publishedVersion(major, key.product).minor, QStringLiteral("00"));
            QCOMPARE(updatefeed::publishedVersion(major, other(key.product)).major, QStringLiteral("0"));

            const QJsonObject minor = entryWith(key.minor, value);
            QCOMPARE(updatefeed::publishedVersion(minor, key.product).major, QStringLiteral("0"));
            QCOMPARE(updatefeed::publishedVersion(minor, key.product).minor,
                     updateversions::published(0, number).minor);
            QCOMPARE(updatefeed::publishedVersion(minor, other(key.product)).minor, QStringLiteral("00"));
        }
    }

    void missingNumbersAreNought()
    {
        for (const Product product : {Product::Software, Product::Firmware})
            QCOMPARE(updateversions::text(updatefeed::publishedVersion({}, product)), QStringLiteral("0.00"));
    }

    void addresses()
    {
        const QJsonObject entry = object(QStringLiteral(
            R"({"windows_software_url_ja": "sj", "windows_software_url_en": "se",
                "windows_firmware_url_ja": "fj", "windows_firmware_url_en": "fe"})"));
        QCOMPARE(updatefeed::packageUrl(entry, Product::Software, QLocale::Japanese), QStringLiteral("sj"));
        QCOMPARE(updatefeed::packageUrl(entry, Product::Firmware, QLocale::Japanese), QStringLiteral("fj"));
        for (const QLocale::Language language :
             {QLocale::English, QLocale::Chinese, QLocale::German, QLocale::Korean, QLocale::C}) {
            QCOMPARE(updatefeed::packageUrl(entry, Product::Software, language), QStringLiteral("se"));
            QCOMPARE(updatefeed::packageUrl(entry, Product::Firmware, language), QStringLiteral("fe"));
        }
    }

    void addressesDoNotStandInForOneAnother()
    {
        QCOMPARE(updatefeed::packageUrl(entryWith(QStringLiteral("windows_software_url_en"), QStringLiteral("\"se\"")),
                                        Product::Software, QLocale::Japanese),
                 QString());
        QCOMPARE(updatefeed::packageUrl(entryWith(QStringLiteral("windows_firmware_url_ja"), QStringLiteral("\"fj\"")),
                                        Product::Firmware, QLocale::English),
                 QString());
    }

    void addressesOfOtherTypesAreEmpty_data()
    {
        QTest::addColumn<Product>("product");
        QTest::addColumn<QLocale::Language>("language");
        QTest::newRow("windows_software_url_ja") << Product::Software << QLocale::Japanese;
        QTest::newRow("windows_software_url_en") << Product::Software << QLocale::English;
        QTest::newRow("windows_firmware_url_ja") << Product::Firmware << QLocale::Japanese;
        QTest::newRow("windows_firmware_url_en") << Product::Firmware << QLocale::English;
    }

    void addressesOfOtherTypesAreEmpty()
    {
        QFETCH(Product, product);
        QFETCH(QLocale::Language, language);
        const QString key = QString::fromLatin1(QTest::currentDataTag());
        QCOMPARE(updatefeed::packageUrl(entryWith(key, QStringLiteral("\"a\"")), product, language),
                 QStringLiteral("a"));
        for (const QString &value : otherTypes) {
            const QJsonObject entry = entryWith(key, value);
            QVERIFY(!entry.isEmpty());
            QVERIFY2(updatefeed::packageUrl(entry, product, language).isNull(), qPrintable(value));
        }
    }

    void newsOfEachLanguage_data()
    {
        QTest::addColumn<QLocale::Language>("language");
        QTest::addColumn<QString>("news");
        QTest::newRow("English") << QLocale::English << "en";
        QTest::newRow("Japanese") << QLocale::Japanese << "ja";
        QTest::newRow("French") << QLocale::French << "fr";
        QTest::newRow("German") << QLocale::German << "de";
        QTest::newRow("Italian") << QLocale::Italian << "it";
        QTest::newRow("Spanish") << QLocale::Spanish << "es";
        QTest::newRow("Chinese") << QLocale::Chinese << "zh";
        QTest::newRow("one without texts of its own") << QLocale::Korean << "ko";
        QTest::newRow("unknown") << QLocale::Dutch << "en";
        QTest::newRow("C") << QLocale::C << "en";
        QTest::newRow("empty in this language") << QLocale::Polish << "en";
        QTest::newRow("other type in this language") << QLocale::Swedish << "en";
    }

    void newsOfEachLanguage()
    {
        QFETCH(QLocale::Language, language);
        const QJsonObject entry = object(QStringLiteral(
            R"({"messages": {"English": "en", "Japanese": "ja", "French": "fr", "German": "de", "Italian": "it",
                "Spanish": "es", "Chinese": "zh", "Korean": "ko", "Polish": "", "Swedish": 1}})"));
        QTEST(updatefeed::news(entry, language), "news");
    }

    void noNews_data()
    {
        QTest::addColumn<QString>("messages");
        QTest::newRow("none") << "{}";
        QTest::newRow("another language only") << R"({"Japanese": "ja"})";
        QTest::newRow("empty English") << R"({"English": ""})";
        QTest::newRow("other case") << R"({"english": "en"})";
        QTest::newRow("English is a number") << R"({"English": 1})";
        QTest::newRow("English is null") << R"({"English": null})";
        QTest::newRow("English is an array") << R"({"English": ["en"]})";
        QTest::newRow("English is an object") << R"({"English": {"English": "en"}})";
        QTest::newRow("a text") << R"("en")";
        QTest::newRow("an array") << R"([{"English": "en"}])";
        QTest::newRow("null") << "null";
    }

    void noNews()
    {
        QFETCH(QString, messages);
        const QJsonObject entry = entryWith(QStringLiteral("messages"), messages);
        QVERIFY(!entry.isEmpty());
        QCOMPARE(updatefeed::news(entry, QLocale::German), QString());
        QCOMPARE(updatefeed::news(entry, QLocale::English), QString());
    }

    void noEntryNoNews() { QCOMPARE(updatefeed::news({}, QLocale::English), QString()); }
};

QTEST_GUILESS_MAIN(UpdateFeedTest)
#include "updatefeed_test.moc"
