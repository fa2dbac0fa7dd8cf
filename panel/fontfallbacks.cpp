#include "fontfallbacks.h"

#include <QFont>
#include <QLocale>
#include <QStringList>

namespace {

// Fonts for Japanese lack letters of Chinese: what they have would stand among others of another hand.
QStringList asianFonts()
{
    const QStringList japanese = {QStringLiteral("IPAPGothic"), QStringLiteral("IPAGothic")};
    const QStringList chinese = {QStringLiteral("WenQuanYi Micro Hei"), QStringLiteral("WenQuanYi Zen Hei")};
    return QLocale().language() == QLocale::Chinese ? chinese + japanese : japanese + chinese;
}

} // namespace

void insertFontFallbacks()
{
    QFont::insertSubstitutions(QStringLiteral("Arial"),
                               QStringList{QStringLiteral("Liberation Sans"), QStringLiteral("Arimo")} + asianFonts());
    QFont::insertSubstitutions(QStringLiteral("MS UI Gothic"), asianFonts());
}
