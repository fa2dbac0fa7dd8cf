#include "zipfile.h"

#include <QDataStream>
#include <QIODevice>

#include <zlib.h>

// libzip is not there for Windows. Stored entries are all that tests need, and cscript/unpack_windows.cpp reads.

namespace {

constexpr quint32 localHeader = 0x04034b50;
constexpr quint32 centralHeader = 0x02014b50;
constexpr quint32 centralEnd = 0x06054b50;
constexpr quint16 version = 20;
constexpr quint16 namesInUtf8 = 0x0800;
constexpr quint16 stored = 0;
constexpr quint32 firstOfJanuary2020 = 0x50210000; // DOS date and time
constexpr quint32 folderAttribute = 0x10;

/// What the local and the central header of an entry share.
void writeCommon(QDataStream &stream, const ZipEntry &entry)
{
    const uLong checksum =
        crc32(0, reinterpret_cast<const Bytef *>(entry.content.constData()), static_cast<uInt>(entry.content.size()));
    const auto size = static_cast<quint32>(entry.content.size());
    stream << version << namesInUtf8 << stored << firstOfJanuary2020 << static_cast<quint32>(checksum) << size << size
           << static_cast<quint16>(entry.name.toUtf8().size()) << quint16(0);
}

QByteArray local(const ZipEntry &entry)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream << localHeader;
    writeCommon(stream, entry);
    return bytes + entry.name.toUtf8() + entry.content;
}

QByteArray central(const ZipEntry &entry, qsizetype offset)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream << centralHeader << version;
    writeCommon(stream, entry);
    const quint32 attributes = entry.name.endsWith(u'/') ? folderAttribute : 0;
    stream << quint16(0) << quint16(0) << quint16(0) << attributes << static_cast<quint32>(offset);
    return bytes + entry.name.toUtf8();
}

QByteArray end(qsizetype entries, qsizetype size, qsizetype offset)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream << centralEnd << quint16(0) << quint16(0) << static_cast<quint16>(entries) << static_cast<quint16>(entries)
           << static_cast<quint32>(size) << static_cast<quint32>(offset) << quint16(0);
    return bytes;
}

} // namespace

QByteArray zipFile(const QList<ZipEntry> &entries)
{
    QByteArray files;
    QByteArray directory;
    for (const ZipEntry &entry : entries) {
        directory += central(entry, files.size());
        files += local(entry);
    }
    return files + directory + end(entries.size(), directory.size(), files.size());
}
