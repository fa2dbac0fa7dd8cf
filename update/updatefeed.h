#pragma once

#include "updateversions.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

/**
 * The update-information document: its keys, and what they say to whom. docs/update-feed.md describes it.
 *
 * Nothing is validated here: a missing key, or one of another type, reads as an empty text, an empty object or 0.
 *
 * All functions may be called from any thread. Rests on QJsonDocument.
 */
namespace updatefeed {

/// What can be updated.
enum class Product { Software, Firmware };

/// The update entry of a document; empty if there is none.
QJsonObject entryOf(const QJsonDocument &document);

/// The version that the entry publishes.
updateversions::Published publishedVersion(const QJsonObject &entry, Product product);

/// Address of the package: Japanese has its own edition, all other languages share one.
QString packageUrl(const QJsonObject &entry, Product product, QLocale::Language language);

/// News in a language, as HTML; in English where there is none in that language; else empty.
QString news(const QJsonObject &entry, QLocale::Language language);

} // namespace updatefeed
