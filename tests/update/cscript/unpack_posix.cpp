#include "unpack.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <memory>

#include <zip.h>

namespace {

constexpr int modeShift = 16; // ZIP keeps the permissions of Unix in the upper half
constexpr zip_uint32_t executableBits = 0111;

using Archive = std::unique_ptr<zip_t, decltype(&zip_discard)>;
using Entry = std::unique_ptr<zip_file_t, decltype(&zip_fclose)>;

bool isExecutable(zip_t *archive, zip_uint64_t index)
{
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    return zip_file_get_external_attributes(archive, index, 0, &system, &attributes) == 0 && system == ZIP_OPSYS_UNIX
        && ((attributes >> modeShift) & executableBits) != 0;
}

bool unpackFile(zip_t *archive, zip_uint64_t index, const QString &target)
{
    const Entry entry(zip_fopen_index(archive, index, 0), &zip_fclose);
    QFile file(target);
    if (entry == nullptr || !QDir().mkpath(QFileInfo(target).absolutePath()) || !file.open(QIODevice::WriteOnly))
        return false;
    char piece[65536];
    zip_int64_t size = 0;
    while ((size = zip_fread(entry.get(), piece, sizeof piece)) > 0 && file.write(piece, size) == size) { }
    if (size != 0 || !file.flush()) {
        file.remove();
        return false;
    }
    return !isExecutable(archive, index) || file.setPermissions(file.permissions() | QFile::ExeOwner);
}

} // namespace

bool unpack(const QString &fileName, const QDir &folder)
{
    const Archive archive(zip_open(QFile::encodeName(fileName).constData(), ZIP_RDONLY, nullptr), &zip_discard);
    if (archive == nullptr)
        return false;
    const zip_int64_t entries = zip_get_num_entries(archive.get(), 0);
    for (zip_int64_t number = 0; number < entries; ++number) {
        const auto index = static_cast<zip_uint64_t>(number);
        const QString name = QString::fromUtf8(zip_get_name(archive.get(), index, ZIP_FL_ENC_GUESS));
        const bool done =
            name.endsWith(u'/') ? folder.mkpath(name) : unpackFile(archive.get(), index, folder.filePath(name));
        if (!done)
            return false;
    }
    return true;
}
