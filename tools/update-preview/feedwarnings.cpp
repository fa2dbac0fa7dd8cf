#include "feedwarnings.h"

#include "cuttexts.h"
#include "feedschema.h"
#include "informationbox.h"
#include "interrupts.h"
#include "languages.h"
#include "nearest.h"
#include "newstext.h"
#include "servicewindows.h"
#include "updatefeed.h"
#include "updatefeedkeys.h"
#include "updatesoftware.h"
#include "updateversions.h"

#include <QJsonObject>
#include <QUrl>

#include <cmath>

namespace {

using updatefeed::Product;

QString entryPointer()
{
    return memberPointer({}, feedkeys::entry);
}

QString messagesPointer()
{
    return memberPointer(entryPointer(), feedkeys::messages);
}

// ---- Keys -----------------------------------------------------------------------------------------------------------

QString didYouMean(const QString &key, const QStringList &known)
{
    const QString meant = nearestTo(key, known);
    return meant.isEmpty() ? QString() : QStringLiteral(" Did you mean \"%1\"?").arg(meant);
}

Findings unknownKeys(const QString &pointer, const QJsonObject &object)
{
    const QStringList known = feedschema::keysAt(pointer);
    Findings findings;
    for (const QString &key : object.keys()) {
        if (interrupts::haveCome())
            break;
        if (!known.contains(key))
            findings.append({memberPointer(pointer, key),
                             QStringLiteral("The panel does not know this key.") + didYouMean(key, known)});
    }
    return findings;
}

/// News may be in any language that there is.
Findings unknownLanguages(const QJsonObject &messages)
{
    QStringList known;
    for (const QLocale::Language language : languages::all())
        known.append(languages::name(language));
    Findings findings;
    for (const QString &key : messages.keys()) {
        if (interrupts::haveCome())
            break;
        if (!known.contains(key))
            findings.append({memberPointer(messagesPointer(), key),
                             QStringLiteral("This is the English name of no language.") + didYouMean(key, known)});
    }
    return findings;
}

// ---- Versions -------------------------------------------------------------------------------------------------------

QString wrongNumber(const QJsonValue &value)
{
    // What is not a number at all is left to the schema.
    if (!value.isDouble() || value.toDouble() == std::floor(value.toDouble()))
        return {};
    return QStringLiteral("%1 is no whole number: the panel reads %2.").arg(value.toDouble()).arg(value.toInt());
}

QString wrongMajor(const updateversions::Published &published)
{
    if (published.major.size() < 2)
        return {};
    return QStringLiteral("Only the first character counts: %1 compares as %2.")
        .arg(published.major)
        .arg(updateversions::publishedMajor(published.major));
}

QString wrongMinor(const updateversions::Published &published)
{
    if (published.minor.size() <= 2)
        return {};
    return QStringLiteral("Only the first two characters count: %1 compares as %2.")
        .arg(published.minor)
        .arg(updateversions::publishedMinor(published.minor));
}

Findings versionWarnings(const QJsonObject &entry, Product product)
{
    const feedkeys::Product keys = feedkeys::of(product);
    const updateversions::Published published = updatefeed::publishedVersion(entry, product);
    Findings findings;
    const auto add = [&](const QString &key, const QString &words) {
        if (!words.isEmpty())
            findings.append({memberPointer(entryPointer(), key), words});
    };
    add(keys.major, wrongNumber(entry[keys.major]));
    add(keys.minor, wrongNumber(entry[keys.minor]));
    add(keys.major, wrongMajor(published));
    add(keys.minor, wrongMinor(published));
    if (entry.contains(keys.major) != entry.contains(keys.minor))
        add(entry.contains(keys.major) ? keys.minor : keys.major,
            QStringLiteral("The other half of this version is there, this one is missing: the panel reads 0."));
    return findings;
}

// ---- Packages -------------------------------------------------------------------------------------------------------

QString wrongAddress(const QString &address)
{
    const QUrl url(address);
    if (address != address.trimmed())
        return QStringLiteral("There is a blank at an end of the address.");
    const bool isOfTheWeb = url.scheme() == u"https" || url.scheme() == u"http";
    if (!url.isValid() || url.isRelative() || (isOfTheWeb && url.host().isEmpty()))
        return QStringLiteral("This is no full address: the panel cannot download the package.");
    if (!isOfTheWeb)
        return QStringLiteral("The panel must not be offered this: only https is safe.");
    if (url.scheme() != u"https")
        return QStringLiteral("The package does not come by https: anybody on the way can replace it.");
    if (!address.endsWith(QStringLiteral(".exe"), Qt::CaseInsensitive)
        && !address.endsWith(QStringLiteral(".zip"), Qt::CaseInsensitive))
        return QStringLiteral("The address ends neither in .exe nor in .zip: the panel takes the package for a ZIP "
                              "archive unless the last letters are \"exe\".");
    return {};
}

Findings addressWarnings(const QJsonObject &entry, Product product)
{
    const feedkeys::Product keys = feedkeys::of(product);
    const updateversions::Published published = updatefeed::publishedVersion(entry, product);
    const bool isPublished = updateversions::isNewer(QString(), published.major, published.minor);
    Findings findings;
    for (const QString &key : {keys.japaneseUrl, keys.otherUrl}) {
        const QString address = entry[key].toString();
        const QString users = key == keys.japaneseUrl ? QStringLiteral("Japanese") : QStringLiteral("all other");
        QString words;
        if (!address.isEmpty())
            words = wrongAddress(address);
        else if (isPublished && (entry[key].isUndefined() || entry[key].isString()))
            words = QStringLiteral("There is no package for %1 users: who accepts the offer sees the error box.")
                        .arg(users);
        if (!words.isEmpty())
            findings.append({memberPointer(entryPointer(), key), words});
    }
    return findings;
}

// ---- News -----------------------------------------------------------------------------------------------------------

Findings missingLanguages(const QJsonObject &messages)
{
    Findings findings;
    const QString english = languages::name(QLocale::English);
    const bool hasEnglish = !messages[english].toString().isEmpty();
    for (const QLocale::Language language : languages::ofTheService()) {
        const QString name = languages::name(language);
        const QJsonValue value = messages[name];
        if (!value.isUndefined() && !(value.isString() && value.toString().isEmpty()))
            continue;
        const QString words = language == QLocale::English
            ? QStringLiteral("There is no English news: users of most languages see none.")
            : QStringLiteral("There is no %1 news: these users see %2.")
                  .arg(name, hasEnglish ? QStringLiteral("the English") : QStringLiteral("none"));
        findings.append({memberPointer(messagesPointer(), name), words});
    }
    return findings;
}

Findings heavyNews(const QJsonObject &messages)
{
    Findings findings;
    for (const QLocale::Language language : languages::all()) {
        const QString name = languages::name(language);
        const QString news = messages[name].toString();
        if (interrupts::haveCome())
            break;
        const auto add = [&](const QString &words) {
            findings.append({memberPointer(messagesPointer(), name), words});
        };
        if (newstext::shown(news) != news.left(newstext::mostLetters))
            add(QStringLiteral("The news is too much to lay out: it is shown as text, without its markup."));
        if (news.size() > newstext::mostLetters)
            add(QStringLiteral("The news has more than %1 letters: it is cut there, and comes back at every start.")
                    .arg(newstext::mostLetters));
    }
    return findings;
}

bool isTooLong(const QString &json, QLocale::Language language)
{
    QLocale::setDefault(QLocale(language));
    UpdateSoftware service;
    service.saveInformation(json);
    const InformationBox *const news = servicewindows::news();
    return news != nullptr && cutTexts(*news).contains(news->ui.textMessage->toPlainText());
}

Findings longNews(const QJsonDocument &document, const QJsonObject &messages)
{
    const QString json = QString::fromUtf8(document.toJson());
    Findings findings;
    for (const QLocale::Language language : languages::all()) {
        if (interrupts::haveCome())
            break;
        const QString name = languages::name(language);
        if (!messages[name].toString().isEmpty() && isTooLong(json, language))
            findings.append({memberPointer(messagesPointer(), name),
                             QStringLiteral("The news is longer than the window shows; the rest is cut.")});
    }
    return findings;
}

Findings newsWarnings(const QJsonDocument &document, const QJsonObject &entry)
{
    const QJsonObject messages = entry[feedkeys::messages].toObject();
    // Without any news there is nothing to miss.
    if (messages.isEmpty())
        return {};
    return unknownLanguages(messages) + missingLanguages(messages) + heavyNews(messages) + longNews(document, messages);
}

} // namespace

Findings feedWarnings(const QJsonDocument &document)
{
    const QJsonObject entry = updatefeed::entryOf(document);
    Findings findings = unknownKeys({}, document.object()) + unknownKeys(entryPointer(), entry);
    for (const Product product : {Product::Software, Product::Firmware})
        findings += versionWarnings(entry, product) + addressWarnings(entry, product);
    return findings + newsWarnings(document, entry);
}
