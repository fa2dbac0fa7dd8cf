#include "updateversions.h"

namespace updateversions {

Published published(int major, int minor)
{
    QString minorText = QString::number(minor);
    if (minorText.size() == 1)
        minorText.prepend(u'0');
    return {QString::number(major), minorText};
}

QString text(const Published &version)
{
    return version.major + u'.' + version.minor;
}

int majorOf(const QString &version)
{
    return version.left(1).toInt();
}

int minorOf(const QString &version)
{
    return version.mid(2, 2).toInt();
}

int publishedMajor(const QString &netMajor)
{
    return netMajor.left(1).toInt();
}

int publishedMinor(const QString &netMinor)
{
    return netMinor.left(2).toInt();
}

bool isNewer(const QString &now, const QString &netMajor, const QString &netMinor)
{
    const int nowMajor = majorOf(now);
    const int major = publishedMajor(netMajor);
    return major > nowMajor || (major == nowMajor && minorOf(now) < publishedMinor(netMinor));
}

bool isSuppressed(const QString &stored, const Published &version)
{
    return !isNewer(stored, version.major, version.minor);
}

} // namespace updateversions
