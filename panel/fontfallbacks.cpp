#include "fontfallbacks.h"

#include <QFont>
#include <QStringList>

void insertFontFallbacks()
{
    const QStringList asian = {QStringLiteral("IPAPGothic"), QStringLiteral("IPAGothic"),
                               QStringLiteral("WenQuanYi Micro Hei"), QStringLiteral("WenQuanYi Zen Hei")};
    QFont::insertSubstitutions(QStringLiteral("Arial"),
                               QStringList{QStringLiteral("Liberation Sans"), QStringLiteral("Arimo")} + asian);
    QFont::insertSubstitutions(QStringLiteral("MS UI Gothic"), asian);
}
