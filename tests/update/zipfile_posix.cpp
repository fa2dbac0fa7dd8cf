#include "zipfile.h"

#include <memory>

#include <zip.h>

namespace {

using Source = std::unique_ptr<zip_source_t, decltype(&zip_source_free)>;

constexpr int modeShift = 16; // ZIP keeps the permissions of Unix in the upper half
constexpr zip_uint32_t executableFile = 0100755;

void add(zip_t *archive, const ZipEntry &entry)
{
    const QByteArray name = entry.name.toUtf8();
    if (entry.name.endsWith(u'/')) {
        zip_dir_add(archive, name.constData(), ZIP_FL_ENC_UTF_8);
        return;
    }
    // The contents are read when the archive is closed; the entries live longer.
    zip_source_t *const source =
        zip_source_buffer(archive, entry.content.constData(), static_cast<zip_uint64_t>(entry.content.size()), 0);
    const zip_int64_t index = zip_file_add(archive, name.constData(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0)
        qFatal("zipFile: %s", zip_strerror(archive));
    if (entry.isExecutable)
        zip_file_set_external_attributes(archive, static_cast<zip_uint64_t>(index), 0, ZIP_OPSYS_UNIX,
                                         executableFile << modeShift);
}

QByteArray content(zip_source_t *source)
{
    zip_stat_t status;
    zip_source_stat(source, &status);
    QByteArray result(static_cast<qsizetype>(status.size), Qt::Uninitialized);
    const bool isRead = zip_source_open(source) == 0
        && zip_source_read(source, result.data(), status.size) == static_cast<zip_int64_t>(status.size);
    if (!isRead)
        qFatal("zipFile: cannot read it back");
    zip_source_close(source);
    return result;
}

} // namespace

QByteArray zipFile(const QList<ZipEntry> &entries)
{
    // In memory, for the temporary folder may be part of a test.
    const Source source(zip_source_buffer_create(nullptr, 0, 0, nullptr), &zip_source_free);
    zip_t *const archive = zip_open_from_source(source.get(), ZIP_TRUNCATE, nullptr);
    if (archive == nullptr)
        qFatal("zipFile: no memory");
    zip_source_keep(source.get());
    for (const ZipEntry &entry : entries)
        add(archive, entry);
    if (zip_close(archive) != 0)
        qFatal("zipFile: %s", zip_strerror(archive));
    return content(source.get());
}
