#include "updateversions.h"

#include <QTest>

#include <vector>

namespace {

/// The two numbers that a version is compared by.
struct Numbers
{
    int major;
    int minor;
};

/// A published version in plain arithmetic: what is left of a number when only its first digits count.
Numbers modelOf(int major, int minor)
{
    const bool negative = minor < 0;
    int minorRest = negative ? -minor : minor;
    // The sign takes one of the two places.
    for (const int limit = negative ? 10 : 100; minorRest >= limit;)
        minorRest /= 10;
    int majorRest = major < 0 ? 0 : major;
    while (majorRest >= 10)
        majorRest /= 10;
    return {majorRest, negative ? -minorRest : minorRest};
}

bool modelIsNewer(Numbers now, Numbers net)
{
    return net.major == now.major ? net.minor > now.minor : net.major > now.major;
}

struct Text
{
    QString text;
    Numbers numbers;
};

/// "0.00" to "9.99", and texts that no version should have.
std::vector<Text> allTexts()
{
    std::vector<Text> texts;
    for (int major = 0; major <= 9; ++major)
        for (int minor = 0; minor <= 99; ++minor)
            texts.push_back({QString::asprintf("%d.%02d", major, minor), {major, minor}});
    for (const Text &odd : std::initializer_list<Text>{
             {QString(), {0, 0}},
             {QStringLiteral(""), {0, 0}},
             {QStringLiteral("1"), {1, 0}},
             {QStringLiteral("1."), {1, 0}},
             {QStringLiteral("1.2"), {1, 2}},
             {QStringLiteral("1.110"), {1, 11}},
             {QStringLiteral("1.10 0006"), {1, 10}},
             {QStringLiteral("10.25"), {1, 0}},
             {QStringLiteral("12345"), {1, 34}},
             {QStringLiteral("v1.10"), {0, 0}},
             {QStringLiteral("a"), {0, 0}},
             {QStringLiteral("1.a5"), {1, 0}},
             {QStringLiteral("1.5a"), {1, 0}},
             {QStringLiteral("-1.10"), {0, 0}},
             {QStringLiteral("1.-5"), {1, -5}},
             {QStringLiteral("No Device"), {0, 0}},
             {QStringLiteral("１.１０"), {0, 0}},
         })
        texts.push_back(odd);
    return texts;
}

} // namespace

class UpdateVersionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void publishedTexts_data()
    {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<QString>("majorText");
        QTest::addColumn<QString>("minorText");
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing") << 0 << 0 << "0"
                                 << "00"
                                 << "0.00";
        QTest::newRow("one digit") << 1 << 5 << "1"
                                   << "05"
                                   << "1.05";
        QTest::newRow("nine") << 1 << 9 << "1"
                              << "09"
                              << "1.09";
        QTest::newRow("two digits") << 1 << 11 << "1"
                                    << "11"
                                    << "1.11";
        QTest::newRow("next major") << 2 << 0 << "2"
                                    << "00"
                                    << "2.00";
        QTest::newRow("three digits") << 1 << 110 << "1"
                                      << "110"
                                      << "1.110";
        QTest::newRow("two-digit major") << 12 << 3 << "12"
                                         << "03"
                                         << "12.03";
        QTest::newRow("negative minor") << 1 << -5 << "1"
                                        << "-5"
                                        << "1.-5";
        QTest::newRow("negative major") << -1 << 10 << "-1"
                                        << "10"
                                        << "-1.10";
        QTest::newRow("greatest") << std::numeric_limits<int>::max() << std::numeric_limits<int>::max() << "2147483647"
                                  << "2147483647"
                                  << "2147483647.2147483647";
        QTest::newRow("least") << std::numeric_limits<int>::min() << std::numeric_limits<int>::min() << "-2147483648"
                               << "-2147483648"
                               << "-2147483648.-2147483648";
    }

    void publishedTexts()
    {
        QFETCH(int, major);
        QFETCH(int, minor);
        const updateversions::Published version = updateversions::published(major, minor);
        QTEST(version.major, "majorText");
        QTEST(version.minor, "minorText");
        QTEST(updateversions::text(version), "text");
    }

    void numbersOfTexts()
    {
        for (const Text &version : allTexts()) {
            QVERIFY2(updateversions::majorOf(version.text) == version.numbers.major, qPrintable(version.text));
            QVERIFY2(updateversions::minorOf(version.text) == version.numbers.minor, qPrintable(version.text));
        }
    }

    void numbersOfPublishedTexts_data()
    {
        QTest::addColumn<QString>("netMajor");
        QTest::addColumn<QString>("netMinor");
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::newRow("null") << QString() << QString() << 0 << 0;
        QTest::newRow("empty") << ""
                               << "" << 0 << 0;
        QTest::newRow("plain") << "1"
                               << "05" << 1 << 5;
        QTest::newRow("unpadded") << "1"
                                  << "5" << 1 << 5;
        QTest::newRow("hundred is ten") << "1"
                                        << "100" << 1 << 10;
        QTest::newRow("ten is one") << "10"
                                    << "10" << 1 << 10;
        QTest::newRow("negative") << "-1"
                                  << "-5" << 0 << -5;
        QTest::newRow("sign and half a number") << "-12"
                                                << "-12" << 0 << -1;
        QTest::newRow("letters") << "x"
                                 << "yz" << 0 << 0;
        QTest::newRow("half a number") << "1"
                                       << "1x" << 1 << 0;
        QTest::newRow("full-width digits") << "２"
                                           << "１１" << 0 << 0;
    }

    void numbersOfPublishedTexts()
    {
        QFETCH(QString, netMajor);
        QFETCH(QString, netMinor);
        QTEST(updateversions::publishedMajor(netMajor), "major");
        QTEST(updateversions::publishedMinor(netMinor), "minor");
    }

    void newer_data()
    {
        QTest::addColumn<QString>("now");
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<bool>("newer");
        QTest::newRow("same") << "1.10" << 1 << 10 << false;
        QTest::newRow("nine is less than ten") << "1.10" << 1 << 9 << false;
        QTest::newRow("eleven") << "1.10" << 1 << 11 << true;
        QTest::newRow("next major") << "1.10" << 2 << 0 << true;
        QTest::newRow("previous major") << "1.10" << 0 << 99 << false;
        QTest::newRow("one") << "1.10" << 1 << 1 << false;
        QTest::newRow("hundred compares as ten") << "1.10" << 1 << 100 << false;
        QTest::newRow("hundred and ten as eleven") << "1.10" << 1 << 110 << true;
        QTest::newRow("hundred against nine") << "1.09" << 1 << 100 << true;
        QTest::newRow("ten as major is one") << "1.10" << 10 << 0 << false;
        QTest::newRow("twenty as major is two") << "1.10" << 20 << 0 << true;
        QTest::newRow("nothing published") << "1.10" << 0 << 0 << false;
        QTest::newRow("negative major") << "0.00" << -2 << 50 << true;
        QTest::newRow("negative major against one") << "1.00" << -2 << 50 << false;
        QTest::newRow("negative minor") << "1.00" << 1 << -5 << false;
        QTest::newRow("empty now") << "" << 0 << 1 << true;
        QTest::newRow("empty now, nothing published") << "" << 0 << 0 << false;
        QTest::newRow("one character") << "1" << 1 << 1 << true;
        QTest::newRow("one character, next major") << "1" << 2 << 0 << true;
        QTest::newRow("one digit after the point") << "1.5" << 1 << 5 << false;
        QTest::newRow("one digit is no tenth") << "1.5" << 1 << 10 << true;
        QTest::newRow("letters") << "beta" << 0 << 1 << true;
        QTest::newRow("two-digit major now") << "10.25" << 1 << 1 << true;
    }

    void newer()
    {
        QFETCH(QString, now);
        QFETCH(int, major);
        QFETCH(int, minor);
        const updateversions::Published net = updateversions::published(major, minor);
        QTEST(updateversions::isNewer(now, net.major, net.minor), "newer");
    }

    void suppressed_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<bool>("suppressed");
        QTest::newRow("same") << "1.11" << 1 << 11 << true;
        QTest::newRow("later one published") << "1.11" << 1 << 12 << false;
        QTest::newRow("earlier one published") << "1.12" << 1 << 11 << true;
        QTest::newRow("greater major stored") << "2.00" << 1 << 99 << true;
        QTest::newRow("smaller major stored") << "1.99" << 2 << 0 << false;
        QTest::newRow("nothing stored") << "" << 1 << 11 << false;
        QTest::newRow("nothing stored, nothing published") << "" << 0 << 0 << true;
        QTest::newRow("numbers, not texts") << "1.110" << 1 << 11 << true;
        QTest::newRow("three digits stored, the same published") << "1.110" << 1 << 110 << true;
        QTest::newRow("three digits hide one another") << "1.110" << 1 << 119 << true;
        QTest::newRow("unpadded") << "1.5" << 1 << 5 << true;
        QTest::newRow("rubbish") << "never" << 1 << 11 << false;
        QTest::newRow("one character") << "1" << 1 << 0 << true;
        QTest::newRow("one character, later minor") << "1" << 1 << 1 << false;
    }

    void suppressed()
    {
        QFETCH(QString, stored);
        QFETCH(int, major);
        QFETCH(int, minor);
        QTEST(updateversions::isSuppressed(stored, updateversions::published(major, minor)), "suppressed");
    }

    void everyPairFollowsThePlainModel()
    {
        const std::vector<Text> texts = allTexts();
        for (int major = -2; major <= 12; ++major) {
            for (int minor = -12; minor <= 120; ++minor) {
                const updateversions::Published net = updateversions::published(major, minor);
                const Numbers numbers = modelOf(major, minor);
                for (const Text &now : texts) {
                    const bool expected = modelIsNewer(now.numbers, numbers);
                    if (updateversions::isNewer(now.text, net.major, net.minor) != expected
                        || updateversions::isSuppressed(now.text, net) == expected)
                        QFAIL(qPrintable(now.text + QStringLiteral(" against ") + updateversions::text(net)));
                }
            }
        }
    }

    void whatIsShownComparesAsWhatIsPublished()
    {
        // What is offered is stored when it is declined, and must hide itself from then on.
        for (int major = 0; major <= 9; ++major)
            for (int minor = 0; minor <= 1200; ++minor) {
                const updateversions::Published net = updateversions::published(major, minor);
                QVERIFY2(updateversions::isSuppressed(updateversions::text(net), net),
                         qPrintable(updateversions::text(net)));
            }
    }
};

QTEST_GUILESS_MAIN(UpdateVersionsTest)
#include "updateversions_test.moc"
