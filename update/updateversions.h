#pragma once

#include <QString>

/**
 * How version texts are compared, and when an offer is suppressed.
 *
 * Texts are read by position and never split at the point: the major number is the first character, the minor number
 * the third and fourth. That is what published versions and stored choices have always been compared by; a major number
 * of two digits cannot be expressed. Anything but a number reads as 0.
 *
 * All functions are pure and may be called from any thread. Rests on QString::toInt().
 */
namespace updateversions {

/// A published version as it is compared and shown: decimal texts, the minor one of at least two digits.
struct Published
{
    QString major; ///< before the point
    QString minor; ///< after it
};

/// The published version of two numbers: (1, 5) gives "1" and "05".
Published published(int major, int minor);

/// The version as users see it and as it is stored: "1.05". All digits of the minor number are kept: "1.110".
QString text(const Published &version);

/// Major number of a version text: its first character.
int majorOf(const QString &version);

/// Minor number of a version text: its third and fourth character, or as many as there are.
int minorOf(const QString &version);

/// Major number that a published major text compares as: its first character.
int publishedMajor(const QString &netMajor);

/// Minor number that a published minor text compares as: its first two characters, so "100" compares as 10.
int publishedMinor(const QString &netMinor);

/// Whether the published version is newer than the version text.
bool isNewer(const QString &now, const QString &netMajor, const QString &netMinor);

/**
 * Whether a user's choice not to be offered a version again covers this one too.
 *
 * @param stored  version text of the choice; empty when there is none
 */
bool isSuppressed(const QString &stored, const Published &version);

} // namespace updateversions
