#include "fontfallbacks.h"

#include <QFont>
#include <QLocale>
#include <QStringList>

namespace {

// Japanese fonts lack some Chinese characters; mixing fonts looks uneven.
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
