#include "singleinstanceid.h"

#include <QCryptographicHash>

namespace {

// 80 bits: no collision by accident, and short enough for the path of a local socket (about 100 bytes).
constexpr int digits = 20;

} // namespace

QString singleInstanceId(const QString &executablePath, const QString &session)
{
    // A path cannot hold a NUL, so no other pair of path and session makes the same bytes.
    const QByteArray text = executablePath.toLower().toUtf8() + '\0' + session.toUtf8();
    const QByteArray hash = QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex();
    return QStringLiteral("kdmx-") + QString::fromLatin1(hash.left(digits));
}
