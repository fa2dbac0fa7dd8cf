#pragma once

#include "packageserver.h"
#include "scripthost.h"

#include <QString>
#include <QTemporaryDir>

/**
 * What surrounds a download while it lives: a server, and private folders for temporary files, for settings and for
 * the programs on PATH. The variables of the environment and the current folder are as before afterwards.
 *
 * The settings name a document on the server, so that nobody asks another one. QSettings finds its folder once in the
 * life of a process, so a process has one server and one folder of settings, made with the first scene.
 */
class PackageScene
{
public:
    PackageScene();
    ~PackageScene();
    Q_DISABLE_COPY_MOVE(PackageScene)

    /// The address of a package with this body. @param headers  as PackageServer::serve() takes them
    QString package(const QString &path, const QByteArray &body, const QByteArray &headers = {});

    /// The address of a package of which the second half takes for ever.
    QString slowPackage(const QString &path, const QByteArray &body);

    /// How many connections of the server are open.
    int connections() const;

    /// Lets the folder, which need not exist, be that of temporary files.
    void useTemporaryFolder(const QString &folder);

    /// The folder of temporary files.
    QString temporaryFolder() const;

    /// The folder that is current when the scene begins. Nobody has a reason to write there.
    QString workFolder() const;

    /// A folder of the scene, made if it is not there.
    QString folder(const QString &name) const;

    /// What the service finds as the script host; at first a stand-in that unpacks.
    ScriptHost &host() { return m_host; }

    /// Lets a host in mode "wait" go on.
    void releaseHost();

    /// Makes an executable script of this name, which may hold anything but a slash, on PATH. Not on Windows.
    void addProgram(const QString &name, const QByteArray &script);

    /// The folders that the service has made, full paths, the oldest first.
    QStringList packageFolders() const;

private:
    const QString m_formerTemporaryFolder;
    const QString m_formerFolder;
    QTemporaryDir m_root;
    ScriptHost m_host;
};

/// A path as Windows writes it.
QString backslashed(const QString &path);

/// The names of everything in a folder, folders too, sorted.
QStringList namesIn(const QString &folder);

/// Whether a process of this id lives. Differs from system to system.
bool isAlive(qint64 pid);
