#pragma once

#include "updatefeed.h"

#include <QString>

/**
 * Keys of the update-information document. For code that writes or checks one; updatefeed.h reads it.
 *
 * May be used from any thread. Rests on QString (Qt Core).
 */
namespace feedkeys {

/// The update entry: the only key at the top.
const QString entry = QStringLiteral("Corvo9_version1");

/// News, by the English name of a language.
const QString messages = QStringLiteral("messages");

/// The keys of a product.
struct Product
{
    QString major; ///< number before the point
    QString minor; ///< number after it
    QString japaneseUrl; ///< package for Japanese users
    QString otherUrl; ///< package for all others
};

/// The keys of a product.
inline Product of(updatefeed::Product product)
{
    if (product == updatefeed::Product::Software)
        return {QStringLiteral("windows_software_version_major"), QStringLiteral("windows_software_version_minor"),
                QStringLiteral("windows_software_url_ja"), QStringLiteral("windows_software_url_en")};
    return {QStringLiteral("firmware_version_major"), QStringLiteral("firmware_version_minor"),
            QStringLiteral("windows_firmware_url_ja"), QStringLiteral("windows_firmware_url_en")};
}

} // namespace feedkeys
