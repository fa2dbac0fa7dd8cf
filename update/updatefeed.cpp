#include "updatefeed.h"

#include <QJsonValue>

namespace updatefeed {

namespace {

const QString entryKey = QStringLiteral("Corvo9_version1");
const QString newsKey = QStringLiteral("messages");

/// The keys of a product.
struct Keys
{
    QString major;
    QString minor;
    QString japaneseUrl;
    QString otherUrl;
};

Keys keysOf(Product product)
{
    if (product == Product::Software)
        return {QStringLiteral("windows_software_version_major"), QStringLiteral("windows_software_version_minor"),
                QStringLiteral("windows_software_url_ja"), QStringLiteral("windows_software_url_en")};
    return {QStringLiteral("firmware_version_major"), QStringLiteral("firmware_version_minor"),
            QStringLiteral("windows_firmware_url_ja"), QStringLiteral("windows_firmware_url_en")};
}

} // namespace

QJsonObject entryOf(const QJsonDocument &document)
{
    return document.object().value(entryKey).toObject();
}

updateversions::Published publishedVersion(const QJsonObject &entry, Product product)
{
    const Keys keys = keysOf(product);
    return updateversions::published(entry.value(keys.major).toInt(), entry.value(keys.minor).toInt());
}

QString packageUrl(const QJsonObject &entry, Product product, QLocale::Language language)
{
    const Keys keys = keysOf(product);
    return entry.value(language == QLocale::Japanese ? keys.japaneseUrl : keys.otherUrl).toString();
}

QString news(const QJsonObject &entry, QLocale::Language language)
{
    const QJsonObject messages = entry.value(newsKey).toObject();
    const QString message = messages.value(QLocale::languageToString(language)).toString();
    return message.isEmpty() ? messages.value(QLocale::languageToString(QLocale::English)).toString() : message;
}

} // namespace updatefeed
