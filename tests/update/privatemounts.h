#pragma once

#include <QString>

/**
 * File systems that only the test and its children see, and that are gone with them whatever happens.
 */
namespace privatemounts {

/**
 * Takes this process out of the file systems that all share, as root or as a user of its own. Called first in main(),
 * as long as there is one thread. Without the right to do so it does nothing, and no Mount succeeds.
 */
void enter();

/// A file system in memory, mounted while the object lives.
class Mount
{
public:
    /**
     * @param folder    where; it must exist
     * @param options   of a tmpfs, such as "size=64k"
     */
    Mount(const QString &folder, const char *options);
    ~Mount();
    Q_DISABLE_COPY_MOVE(Mount)

    /// Whether it is there.
    explicit operator bool() const { return m_isMounted; }

    /// Ends it before the object does.
    void release();

    /// Lets nobody write there any more, not even root.
    bool makeReadOnly();

private:
    QString m_folder;
    bool m_isMounted = false;
};

} // namespace privatemounts
