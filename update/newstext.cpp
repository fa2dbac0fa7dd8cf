#include "newstext.h"

#include <QRegularExpression>

namespace newstext {

namespace {

// What Qt needs grows with the square of the number of nested tags.
constexpr qsizetype mostTags = 2'000;

// Each nested table doubles what Qt needs, and every row gets as many cells as the longest one. A cell that spans
// columns or rows, at most nine, counts as that many more tags.
constexpr qsizetype mostTables = 4;
constexpr qsizetype mostTagsWithTables = 100;
constexpr qsizetype tagsOfSpan = 9;

QRegularExpression regular(const char *pattern)
{
    return QRegularExpression(QString::fromLatin1(pattern), QRegularExpression::CaseInsensitiveOption);
}

bool hasHeavyTables(const QString &html, qsizetype tags)
{
    static const QRegularExpression table = regular("<\\s*table\\b");
    static const QRegularExpression anyOfTables = regular("<\\s*t(able|r|d|h)\\b");
    static const QRegularExpression span = regular("\\b(col|row)span\\b");
    static const QRegularExpression wideSpan = regular("\\b(col|row)span\\b[^\\d>]*\\d\\d");
    return html.contains(anyOfTables)
        && (tags + tagsOfSpan * html.count(span) > mostTagsWithTables || html.count(table) > mostTables
            || html.contains(wideSpan));
}

bool isHeavy(const QString &html)
{
    if (html.size() > mostLetters)
        return true;
    const qsizetype tags = html.count(u'<');
    return tags > mostTags || hasHeavyTables(html, tags);
}

QString withoutMarkup(QString html)
{
    static const QRegularExpression tag = regular("<[^>]*>");
    return html.replace(tag, QStringLiteral(" ")).replace(u'<', QStringLiteral("&lt;"));
}

} // namespace

QString shown(const QString &message)
{
    return isHeavy(message) ? withoutMarkup(message.left(mostLetters)) : message;
}

} // namespace newstext
