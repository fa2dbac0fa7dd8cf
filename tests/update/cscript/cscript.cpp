// A stand-in for the Windows script host, for tests of whoever unpacks a ZIP archive with it. It takes the script for
// what it is meant to do, unpacks for real, and can misbehave in every way that a script host may.
//
//   cscript SCRIPT ARCHIVE FOLDER      paths in backslash form
//
// KDMX_CSCRIPT_RECORD  a file: what the host was given, as a JSON object, before it does anything
// KDMX_CSCRIPT_MODE    "wait" unpacks when the file $KDMX_CSCRIPT_RECORD.go is there; "hang" does nothing and goes on;
//                      "crash" ends by a signal; "nothing" unpacks nothing; "fail" unpacks and ends with 7

#include "hostrecord.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QThread>

#include <csignal>
#include <cstdio>
#include <memory>

#include <sys/prctl.h>
#include <unistd.h>
#include <zip.h>

namespace {

constexpr unsigned long pollMs = 5;
constexpr int modeShift = 16; // ZIP keeps the permissions of Unix in the upper half
constexpr zip_uint32_t executableBits = 0111;

using Archive = std::unique_ptr<zip_t, decltype(&zip_discard)>;
using Entry = std::unique_ptr<zip_file_t, decltype(&zip_fclose)>;

QString slashed(const QString &path)
{
    return QString(path).replace(u'\\', u'/');
}

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

[[noreturn]] void hang()
{
    for (;;)
        pause();
}

void waitForGo()
{
    const QString go = HostRecord::fileName() + QStringLiteral(".go");
    while (!QFile::exists(go))
        QThread::msleep(pollMs);
}

} // namespace

int main(int argc, char *argv[])
{
    // It must not stay behind when the test itself dies.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    QStringList arguments;
    for (int index = 1; index < argc; ++index)
        arguments.append(QFile::decodeName(argv[index]));
    HostRecord::write(arguments);
    if (arguments.size() != 3) {
        std::fputs("cscript: expected a script, an archive and a folder\n", stderr);
        return 2;
    }

    const QString mode = qEnvironmentVariable("KDMX_CSCRIPT_MODE");
    if (mode == QStringLiteral("hang"))
        hang();
    if (mode == QStringLiteral("crash"))
        raise(SIGKILL);
    if (mode == QStringLiteral("nothing"))
        return 0;
    if (mode == QStringLiteral("wait"))
        waitForGo();
    if (!unpack(slashed(arguments[1]), QDir(slashed(arguments[2]))))
        return 1;
    return mode == QStringLiteral("fail") ? 7 : 0;
}
