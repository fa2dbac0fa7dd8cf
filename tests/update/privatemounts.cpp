#include "privatemounts.h"

#include <QByteArray>
#include <QFile>

#include <utility>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace privatemounts {

namespace {

bool isEntered = false;

bool write(const char *fileName, const QByteArray &text)
{
    const int file = open(fileName, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool isWritten = ::write(file, text.constData(), static_cast<size_t>(text.size())) == text.size();
    close(file);
    return isWritten;
}

/// An ordinary user may mount where that user is root: in a user namespace, if the system grants one.
bool enterAsUser(uid_t user, gid_t group)
{
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write("/proc/self/setgroups", "deny")
        && write("/proc/self/uid_map", "0 " + QByteArray::number(user) + " 1")
        && write("/proc/self/gid_map", "0 " + QByteArray::number(group) + " 1");
}

} // namespace

void enter()
{
    isEntered = (unshare(CLONE_NEWNS) == 0 || enterAsUser(geteuid(), getegid()))
        && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

Mount::Mount(const QString &folder, const char *options)
    : m_folder(folder)
    , m_isMounted(isEntered && mount("none", QFile::encodeName(folder).constData(), "tmpfs", 0, options) == 0)
{
}

Mount::~Mount()
{
    release();
}

void Mount::release()
{
    // Lazily, for it may still be somebody's current folder.
    if (std::exchange(m_isMounted, false))
        umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
}

bool Mount::makeReadOnly()
{
    return m_isMounted
        && mount("none", QFile::encodeName(m_folder).constData(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
}

} // namespace privatemounts
