#include "instancelock.h"

#include <string>
#include <system_error>

#include <windows.h>

// The mutex is owned, not merely present: a process that just looks keeps the object alive for a moment too.
struct InstanceLock::Handle
{
    explicit Handle(HANDLE handle)
        : mutex(handle)
    {
    }

    ~Handle()
    {
        if (owned)
            ReleaseMutex(mutex);
        if (mutex)
            CloseHandle(mutex);
    }

    Q_DISABLE_COPY_MOVE(Handle)

    bool own(DWORD milliseconds)
    {
        const DWORD result = WaitForSingleObject(mutex, milliseconds);
        // "Abandoned" says that the owner died without giving the mutex back; it is ours all the same.
        owned = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
        return owned;
    }

    HANDLE mutex = nullptr;
    bool owned = false;
};

namespace {

// isFree() owns the mutex for microseconds only; a process that keeps it longer is a holder.
constexpr DWORD patience = 50;

QString errorOf(const QString &name, DWORD code)
{
    const std::string text = std::system_category().message(static_cast<int>(code));
    return QStringLiteral("%1: %2 (%3)").arg(name, QString::fromLocal8Bit(text.c_str())).arg(code);
}

} // namespace

InstanceLock::InstanceLock(const QString &name)
    : m_name(name)
{
}

InstanceLock::~InstanceLock() = default;

InstanceLock::Result InstanceLock::tryLock()
{
    if (m_handle)
        return Result::Locked;

    m_errorText.clear();
    if (m_name.isEmpty()) {
        // A mutex without a name could be made, but nobody else would find it.
        m_errorText = QStringLiteral("no name");
        return Result::Failed;
    }
    const std::wstring name = m_name.toStdWString();
    const HANDLE mutex = CreateMutexW(nullptr, TRUE, name.c_str());
    const DWORD error = GetLastError();
    auto handle = std::make_unique<Handle>(mutex);
    // A holder that runs elevated keeps its mutex from this process.
    if (!mutex && error == ERROR_ACCESS_DENIED)
        return Result::HeldByOther;
    if (!mutex) {
        m_errorText = errorOf(m_name, error);
        return Result::Failed;
    }
    handle->owned = error != ERROR_ALREADY_EXISTS;
    if (!handle->owned && !handle->own(patience))
        return Result::HeldByOther;
    m_handle = std::move(handle);
    return Result::Locked;
}

bool InstanceLock::isFree() const
{
    if (m_handle)
        return false;

    const std::wstring name = m_name.toStdWString();
    Handle handle(OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, name.c_str()));
    if (!handle.mutex)
        return GetLastError() == ERROR_FILE_NOT_FOUND;
    return handle.own(0);
}
