#include "languages.h"

#include "updatetexts.h"

#include <algorithm>

namespace languages {

QList<QLocale::Language> ofTheService()
{
    QList<QLocale::Language> rows(updateTextRowCount, QLocale::English);
    for (const QLocale::Language language : all()) {
        // The first row is also that of all languages without one.
        if (const int row = updateTextRow(language); row > 0)
            rows[row] = language;
    }
    return rows;
}

std::optional<QLocale> fromCode(const QString &code)
{
    const QLocale locale(code);
    return locale.language() == QLocale::C ? std::nullopt : std::optional(locale);
}

QString name(QLocale::Language language)
{
    return QLocale::languageToString(language);
}

QString ownName(QLocale::Language language)
{
    QString shortest = QLocale(language).nativeLanguageName();
    // Some countries have a name of their own for what they speak: "español de España".
    for (const QLocale &locale : QLocale::matchingLocales(language, QLocale::AnyScript, QLocale::AnyTerritory)) {
        const QString candidate = locale.nativeLanguageName();
        if (!candidate.isEmpty() && candidate.size() < shortest.size())
            shortest = candidate;
    }
    return shortest;
}

QString code(QLocale::Language language)
{
    return QLocale::languageToCode(language);
}

QList<QLocale::Language> all()
{
    QList<QLocale::Language> found;
    // The first two stand for no language.
    for (int number = QLocale::C + 1; number <= QLocale::LastLanguage; ++number)
        found.append(static_cast<QLocale::Language>(number));
    return found;
}

} // namespace languages
