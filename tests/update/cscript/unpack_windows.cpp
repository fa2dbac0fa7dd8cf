#include "unpack.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

namespace {

constexpr quint32 localHeader = 0x04034b50;
constexpr quint16 stored = 0;

struct Entry
{
    QString name;
    QByteArray content;
};

/// The next entry; without a name at the end of the entries, or where it cannot be read.
Entry readEntry(QDataStream &stream)
{
    quint32 signature = 0;
    quint16 version = 0;
    quint16 flags = 0;
    quint16 method = 0;
    quint32 time = 0;
    quint32 checksum = 0;
    quint32 packedSize = 0;
    quint32 size = 0;
    quint16 nameSize = 0;
    quint16 extraSize = 0;
    stream >> signature >> version >> flags >> method >> time >> checksum >> packedSize >> size >> nameSize
        >> extraSize;
    if (signature != localHeader || method != stored || stream.status() != QDataStream::Ok)
        return {};
    QIODevice &file = *stream.device();
    const QString name = QString::fromUtf8(file.read(nameSize));
    file.skip(extraSize);
    const QByteArray content = file.read(size);
    return content.size() == static_cast<qsizetype>(size) ? Entry{name, content} : Entry();
}

bool write(const Entry &entry, const QDir &folder)
{
    if (entry.name.endsWith(u'/'))
        return folder.mkpath(entry.name);
    QFile file(folder.filePath(entry.name));
    return folder.mkpath(QFileInfo(entry.name).path()) && file.open(QIODevice::WriteOnly)
        && file.write(entry.content) == entry.content.size() && file.flush();
}

} // namespace

bool unpack(const QString &archive, const QDir &folder)
{
    QFile file(archive);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QDataStream stream(&file);
    stream.setByteOrder(QDataStream::LittleEndian);
    int entries = 0;
    for (Entry entry = readEntry(stream); !entry.name.isEmpty(); entry = readEntry(stream)) {
        if (!write(entry, folder))
            return false;
        ++entries;
    }
    return entries > 0;
}
