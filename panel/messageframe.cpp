#include "messageframe.h"

#include <QtEndian>

namespace messageframe {

namespace {

constexpr qsizetype headerSize = sizeof(quint32);

} // namespace

QByteArray fromText(const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    if (utf8.size() > maximumTextSize)
        return QByteArray();

    QByteArray frame(headerSize, Qt::Uninitialized);
    qToBigEndian(static_cast<quint32>(utf8.size()), frame.data());
    return frame + utf8;
}

qsizetype missingBytes(const QByteArray &received)
{
    if (received.size() < headerSize)
        return headerSize - received.size();

    const auto announced = static_cast<qsizetype>(qFromBigEndian<quint32>(received.constData()));
    // A 32-bit build turns the highest lengths into negative numbers.
    if (announced < 0 || announced > maximumTextSize)
        return -1;
    return headerSize + announced - received.size();
}

QString toText(const QByteArray &frame)
{
    return QString::fromUtf8(frame.sliced(headerSize));
}

} // namespace messageframe
