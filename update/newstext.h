#pragma once

#include <QString>

/**
 * Which part of the maker's news goes into a window.
 *
 * May be used from any thread. Rests on QString and QRegularExpression (Qt Core).
 */
namespace newstext {

/// No more of a message is shown: far more than anybody reads in five lines. A longer one is not remembered either, see
/// updatesettings::write().
constexpr qsizetype mostLetters = 65'536;

/**
 * News that can be laid out in a moment.
 *
 * The field shows about five lines of simple HTML. A document may hold what would keep Qt busy for minutes, or for
 * ever: a huge amount of it, thousands of nested tags, or nested tables. Of such news the beginning of the text is
 * shown, without its markup.
 *
 * @param message  HTML as the document has it
 * @return HTML: the message itself, or at most mostLetters of it without a tag
 */
QString shown(const QString &message);

} // namespace newstext
