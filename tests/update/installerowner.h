#pragma once

#include <QProcess>
#include <QString>

/**
 * A process that owns the service (ownerprogram.cpp, $KDMX_INSTALLER_OWNER), downloads a package and starts its
 * installer. Killed with the object.
 */
class InstallerOwner
{
public:
    /**
     * @param address   of the package
     * @param isKilled  how end() ends it: it is killed, or it ends by itself
     */
    InstallerOwner(const QString &address, bool isKilled);
    ~InstallerOwner();
    Q_DISABLE_COPY_MOVE(InstallerOwner)

    /// Waits for the installer's path; empty if there is none.
    QString installer();

    /// Lets it start the installer.
    void launch();

    /// Waits for its end. @return whether it was the one asked for
    bool end();

    qint64 pid() const { return m_process.processId(); }

private:
    QProcess m_process;
    const bool m_isKilled;
};
