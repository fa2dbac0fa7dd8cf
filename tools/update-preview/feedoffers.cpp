#include "feedoffers.h"

#include "identity.h"
#include "languages.h"
#include "newstext.h"
#include "textonlydocument.h"
#include "updatefeed.h"
#include "updatefeedkeys.h"
#include "updateversions.h"

namespace {

using updatefeed::Product;

QString line(const QString &label, const QString &words)
{
    constexpr int labelWidth = 18;
    return QStringLiteral("  ") + label.leftJustified(labelWidth) + words + u'\n';
}

QString address(const QJsonObject &entry, Product product, QLocale::Language language)
{
    const QString url = updatefeed::packageUrl(entry, product, language);
    return url.isEmpty() ? QStringLiteral("no package: an error box") : url;
}

QString packages(const QJsonObject &entry, Product product)
{
    return line(QStringLiteral("Japanese users"), address(entry, product, QLocale::Japanese))
        + line(QStringLiteral("all other users"), address(entry, product, QLocale::English));
}

QString software(const QJsonObject &entry)
{
    const updateversions::Published published = updatefeed::publishedVersion(entry, Product::Software);
    const bool isOffered = updateversions::isNewer(identity::version, published.major, published.minor);
    const QString head = QStringLiteral("Program: %1 is published, this program is %2.\n")
                             .arg(updateversions::text(published), identity::version);
    if (!isOffered)
        return head + line(QStringLiteral("all users"), QStringLiteral("are offered nothing: it is not newer"));
    return head + packages(entry, Product::Software);
}

/// The last version that a text can express and the published one is newer than; empty if there is none.
QString lastOlder(const updateversions::Published &published)
{
    constexpr int majors = 10;
    constexpr int minors = 100;
    for (int number = majors * minors - 1; number >= 0; --number) {
        const QString now = updateversions::text(updateversions::published(number / minors, number % minors));
        if (updateversions::isNewer(now, published.major, published.minor))
            return now;
    }
    return {};
}

QString firmwareOfAnyUnit(const updateversions::Published &published)
{
    const QString last = lastOlder(published);
    if (last.isEmpty())
        return line(QStringLiteral("all units"), QStringLiteral("are offered nothing: none is older"));
    return line(QStringLiteral("units with"), QStringLiteral("firmware 0.00 to %1 are offered it").arg(last));
}

QString firmware(const QJsonObject &entry, const std::optional<QString> &unit)
{
    const updateversions::Published published = updatefeed::publishedVersion(entry, Product::Firmware);
    const QString version = updateversions::text(published);
    if (!unit) {
        const QString offer = firmwareOfAnyUnit(published);
        return QStringLiteral("Firmware: %1 is published.\n").arg(version) + offer
            + (lastOlder(published).isEmpty() ? QString() : packages(entry, Product::Firmware));
    }
    const QString head = QStringLiteral("Firmware: %1 is published, the unit has %2.\n").arg(version, *unit);
    if (unit->isEmpty() || !unit->at(0).isDigit())
        return head + line(QStringLiteral("all users"), QStringLiteral("are offered nothing: that is no version"));
    if (!updateversions::isNewer(*unit, published.major, published.minor))
        return head + line(QStringLiteral("all users"), QStringLiteral("are offered nothing: it is not newer"));
    return head + packages(entry, Product::Firmware);
}

/// The beginning of a message as it reads on the screen.
QString beginning(const QString &html)
{
    constexpr int longest = 50;
    TextOnlyDocument document;
    document.setHtml(newstext::shown(html));
    const QString text = document.toPlainText().simplified();
    return text.size() > longest ? text.left(longest - 1) + u'…' : text;
}

QString newsOf(const QJsonObject &entry, QLocale::Language language)
{
    const QString news = updatefeed::news(entry, language);
    if (news.isEmpty())
        return QStringLiteral("nothing");
    const QString english = updatefeed::news(entry, QLocale::English);
    const bool isFallback = language != QLocale::English && news == english;
    return isFallback ? QStringLiteral("the English news") : u'"' + beginning(news) + u'"';
}

QString news(const QJsonObject &entry)
{
    const QJsonObject messages = entry[feedkeys::messages].toObject();
    const QList<QLocale::Language> ofTheService = languages::ofTheService();
    QString words = QStringLiteral("News:\n");
    for (const QLocale::Language language : ofTheService)
        words += line(languages::name(language), newsOf(entry, language));
    QLocale::Language without = QLocale::AnyLanguage;
    for (const QLocale::Language language : languages::all()) {
        if (!messages.contains(languages::name(language)))
            without = language;
        else if (!ofTheService.contains(language))
            words += line(languages::name(language), newsOf(entry, language));
    }
    return words + line(QStringLiteral("any other"), newsOf(entry, without));
}

} // namespace

QString offersInWords(const QJsonDocument &document, const std::optional<QString> &firmwareOfUnit)
{
    const QJsonObject entry = updatefeed::entryOf(document);
    return software(entry) + u'\n' + firmware(entry, firmwareOfUnit) + u'\n' + news(entry);
}
