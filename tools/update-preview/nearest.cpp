#include "nearest.h"

#include <QList>

#include <algorithm>
#include <numeric>

namespace {

/// Letters to insert, remove or replace to make one word of the other.
qsizetype distance(const QString &from, const QString &to)
{
    QList<qsizetype> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (qsizetype y = 0; y < from.size(); ++y) {
        qsizetype diagonal = row[0];
        row[0] = y + 1;
        for (qsizetype x = 0; x < to.size(); ++x) {
            const qsizetype replaced = diagonal + (from[y] == to[x] ? 0 : 1);
            diagonal = row[x + 1];
            row[x + 1] = std::min({replaced, row[x] + 1, diagonal + 1});
        }
    }
    return row.last();
}

} // namespace

QString nearestTo(const QString &word, const QStringList &candidates)
{
    // A quarter of a word may be wrong, and one letter of the shortest.
    constexpr qsizetype share = 4;
    // Keys of any length are legal; the comparison takes time by the product of the lengths.
    constexpr qsizetype longestWord = 200;
    if (word.size() > longestWord)
        return {};
    QString nearest;
    qsizetype least = std::max<qsizetype>(1, word.size() / share) + 1;
    for (const QString &candidate : candidates) {
        const qsizetype steps = distance(word.toLower(), candidate.toLower());
        if (steps < least) {
            least = steps;
            nearest = candidate;
        }
    }
    return nearest;
}
