#include "galleryfeed.h"

#include "identity.h"
#include "updatefeedkeys.h"
#include "updateversions.h"

#include <QFile>

namespace {

using updatefeed::Product;

const QString unitName = QStringLiteral("KD-MX4");
const QString unitFirmware = QStringLiteral("1.00");

QJsonDocument example()
{
    QFile file(QStringLiteral(":/update-preview/feed.example.json"));
    file.open(QIODevice::ReadOnly);
    return QJsonDocument::fromJson(file.readAll());
}

/// Lets the entry publish the version after another, unless what it publishes is newer anyway.
void makeNewer(QJsonObject *entry, Product product, const QString &than)
{
    constexpr int lastMinor = 99;
    const updateversions::Published published = updatefeed::publishedVersion(*entry, product);
    if (updateversions::isNewer(than, published.major, published.minor))
        return;
    const int major = updateversions::majorOf(than);
    const int minor = updateversions::minorOf(than);
    const feedkeys::Product keys = feedkeys::of(product);
    entry->insert(keys.major, minor == lastMinor ? major + 1 : major);
    entry->insert(keys.minor, minor == lastMinor ? 0 : minor + 1);
}

} // namespace

GalleryFeed galleryFeed(const QJsonDocument &own)
{
    QJsonObject entry = updatefeed::entryOf(own.isNull() ? example() : own);
    makeNewer(&entry, Product::Software, identity::version);
    makeNewer(&entry, Product::Firmware, unitFirmware);
    const QJsonDocument document(QJsonObject{{feedkeys::entry, entry}});
    return {QString::fromUtf8(document.toJson()), unitName, unitFirmware};
}
