#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/**
 * The folder that a run of the program lives in: the panel's settings are looked for there and not in the user's own,
 * and packages are stored there. Gone with the object.
 *
 * Make one before the first settings are opened and before any thread runs.
 */
class PrivateFolder
{
public:
    PrivateFolder();
    ~PrivateFolder();
    Q_DISABLE_COPY_MOVE(PrivateFolder)

    /// Whether the folder is there.
    bool isValid() const;

    /// Full path.
    QString path() const { return m_folder.path(); }

    /// Lets the service fetch its document from this address.
    static void setFeed(const QString &address);

    /// Lets the service fetch nothing: there is no document where it looks.
    void setNoFeed() const;

    /// Leaves the packages where they are, for an installer that uses them. @return their folder
    QString keepPackages();

private:
    QTemporaryDir m_folder;
    QString m_folderBefore;
};
