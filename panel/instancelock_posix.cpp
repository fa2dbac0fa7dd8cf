#include "instancelock.h"

#include <QFile>

#include <chrono>
#include <system_error>
#include <thread>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

struct InstanceLock::Handle
{
    Handle(const QString &fileName, int flags)
    {
        const QByteArray path = QFile::encodeName(fileName);
        do {
            fd = ::open(path.constData(), flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600);
        } while (fd == -1 && errno == EINTR);
    }

    ~Handle()
    {
        if (fd != -1)
            ::close(fd);
    }

    Q_DISABLE_COPY_MOVE(Handle)

    bool flockNow(int operation) const
    {
        int result = 0;
        do {
            result = ::flock(fd, operation | LOCK_NB);
        } while (result == -1 && errno == EINTR);
        return result == 0;
    }

    Result tryExclusive() const;

    int fd = -1;
};

namespace {

// isFree() holds the lock for microseconds, so the second attempt nearly always succeeds.
constexpr int attempts = 100;
constexpr std::chrono::milliseconds retryInterval(1);

QString errorOf(const QString &fileName, int code)
{
    return QStringLiteral("%1: %2").arg(fileName, QString::fromStdString(std::generic_category().message(code)));
}

} // namespace

InstanceLock::InstanceLock(const QString &name)
    : m_name(name)
{
}

InstanceLock::~InstanceLock() = default;

// Holders have the lock exclusively; isFree() shares it for a moment. A lock that can be shared is therefore not held.
InstanceLock::Result InstanceLock::Handle::tryExclusive() const
{
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (flockNow(LOCK_EX))
            return Result::Locked;
        if (errno != EWOULDBLOCK)
            return Result::Failed;
        if (!flockNow(LOCK_SH))
            return errno == EWOULDBLOCK ? Result::HeldByOther : Result::Failed;
        flockNow(LOCK_UN);
        std::this_thread::sleep_for(retryInterval);
    }
    return Result::HeldByOther;
}

InstanceLock::Result InstanceLock::tryLock()
{
    if (m_handle)
        return Result::Locked;

    auto handle = std::make_unique<Handle>(m_name, O_CREAT);
    const Result result = handle->fd == -1 ? Result::Failed : handle->tryExclusive();
    m_errorText = result == Result::Failed ? errorOf(m_name, errno) : QString();
    if (result == Result::Locked)
        m_handle = std::move(handle);
    return result;
}

bool InstanceLock::isFree() const
{
    if (m_handle)
        return false;

    const Handle handle(m_name, 0);
    if (handle.fd == -1)
        return errno == ENOENT;
    return handle.flockNow(LOCK_SH);
}
