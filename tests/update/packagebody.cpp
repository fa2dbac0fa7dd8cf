#include "packagebody.h"

#include <algorithm>

QByteArray patternOf(qsizetype size)
{
    QByteArray result(size, Qt::Uninitialized);
    for (qsizetype index = 0; index < size; ++index)
        result[index] = static_cast<char>(index * 7 + index / 256);
    return result;
}

PackageBody::PackageBody(const QByteArray &content, qint64 promised)
    : m_content(content)
    , m_promised(promised)
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

qint64 PackageBody::bytesAvailable() const
{
    if (m_position == m_promised && atEnd)
        atEnd();
    return m_promised - m_position;
}

qint64 PackageBody::readData(char *data, qint64 wanted)
{
    largestRead = std::max(largestRead, wanted);
    const qint64 size = std::min(wanted, m_content.size() - m_position);
    if (size == 0 && failsAtTheEnd)
        return -1;
    std::copy_n(m_content.constData() + m_position, size, data);
    m_position += size;
    return size;
}
