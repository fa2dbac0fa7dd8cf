#pragma once

#include <QList>
#include <QLocale>
#include <QString>

#include <optional>

/**
 * Languages as the update service knows them. Rests on updatetexts.h and QLocale.
 */
namespace languages {

/// Those that the service has texts for, in the order of its table.
QList<QLocale::Language> ofTheService();

/// The locale of a code such as "ja" or "zh_CN"; nothing if there is none.
std::optional<QLocale> fromCode(const QString &code);

/// English name, which is also the key of the news: "German".
QString name(QLocale::Language language);

/// Name in the language itself: "Deutsch".
QString ownName(QLocale::Language language);

/// Code for file names and HTML: "de".
QString code(QLocale::Language language);

/// All that a user can have.
QList<QLocale::Language> all();

} // namespace languages
