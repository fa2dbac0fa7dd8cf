#include "instancechannel.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QLocalSocket>
#include <QStringList>

#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Candidate
{
    QString folder;
    bool mayBeMade;
};

// QStandardPaths knows the runtime folder too, but prints a warning when it is missing.
QList<Candidate> candidates()
{
    const QString user = QString::number(::geteuid());
    const QString ownName = QStringLiteral("/kdmx-") + user;
    QList<Candidate> result = {{QFile::decodeName(qgetenv("XDG_RUNTIME_DIR")), false},
                               {QStringLiteral("/run/user/") + user, false}};
    // Empty when $TMPDIR does not exist; the folder must not end up at the root then.
    if (const QString temporary = QDir::tempPath(); !temporary.isEmpty())
        result.append({temporary + ownName, true});
    result.append({QStringLiteral("/tmp") + ownName, true});
    return result;
}

QString socketPath(const QString &folder, const QString &id)
{
    return folder + u'/' + id + QStringLiteral(".socket");
}

bool fits(const QString &path)
{
    constexpr qsizetype limit = 100;
    return QFile::encodeName(path).size() < limit;
}

bool isPrivate(const QByteArray &folder)
{
    struct stat info = {};
    if (::lstat(folder.constData(), &info) != 0)
        return false;
    return S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() && (info.st_mode & 0777) == 0700;
}

bool isUsable(const Candidate &candidate, const QString &id)
{
    if (!QDir::isAbsolutePath(candidate.folder) || !fits(socketPath(candidate.folder, id)))
        return false;

    const QByteArray folder = QFile::encodeName(candidate.folder);
    // Somebody else may have made the folder first in a place that all can write: the check decides.
    if (candidate.mayBeMade)
        ::mkdir(folder.constData(), 0700);
    return isPrivate(folder);
}

} // namespace

InstanceChannel instanceChannel(const QString &id)
{
    QStringList refused;
    for (Candidate candidate : candidates()) {
        // A slash at the end would make lstat() follow a symbolic link.
        candidate.folder = QDir::cleanPath(candidate.folder);
        if (isUsable(candidate, id))
            return {candidate.folder + u'/' + id + QStringLiteral(".lock"), socketPath(candidate.folder, id), {}};
        if (!candidate.folder.isEmpty() && !refused.contains(candidate.folder))
            refused += candidate.folder;
    }
    return {{}, {}, QStringLiteral("no folder that only this user can enter: ") + refused.join(QStringLiteral(", "))};
}

// Connecting to a local socket either works at once or not at all. Where the listener is busy QLocalSocket would try
// again from the event loop, which the caller does not run.
bool connectToChannel(QLocalSocket &socket, const QString &serverName)
{
    socket.connectToServer(serverName);
    return socket.state() == QLocalSocket::ConnectedState;
}

void allowForeground(const QLocalSocket &) { }
