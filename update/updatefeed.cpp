#include "updatefeed.h"

#include "updatefeedkeys.h"

#include <QJsonValue>

namespace updatefeed {

QJsonObject entryOf(const QJsonDocument &document)
{
    return document.object().value(feedkeys::entry).toObject();
}

updateversions::Published publishedVersion(const QJsonObject &entry, Product product)
{
    const feedkeys::Product keys = feedkeys::of(product);
    return updateversions::published(entry.value(keys.major).toInt(), entry.value(keys.minor).toInt());
}

QString packageUrl(const QJsonObject &entry, Product product, QLocale::Language language)
{
    const feedkeys::Product keys = feedkeys::of(product);
    return entry.value(language == QLocale::Japanese ? keys.japaneseUrl : keys.otherUrl).toString();
}

QString news(const QJsonObject &entry, QLocale::Language language)
{
    const QJsonObject messages = entry.value(feedkeys::messages).toObject();
    const QString message = messages.value(QLocale::languageToString(language)).toString();
    return message.isEmpty() ? messages.value(QLocale::languageToString(QLocale::English)).toString() : message;
}

} // namespace updatefeed
