#include "deaflistener.h"

#include <QFile>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

struct DeafListener::Place
{
    int socket = -1;
    bool listens = false;
};

DeafListener::DeafListener(const QString &serverName, int backlog)
    : m_place(std::make_unique<Place>())
{
    m_place->socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(serverName);
    qstrncpy(address.sun_path, name.constData(), sizeof(address.sun_path));
    m_place->listens = ::bind(m_place->socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0
        && ::listen(m_place->socket, backlog) == 0;
}

DeafListener::~DeafListener()
{
    ::close(m_place->socket);
}

bool DeafListener::listens() const
{
    return m_place->listens;
}

bool DeafListener::hasCaller(int timeoutMs) const
{
    pollfd watched = {m_place->socket, POLLIN, 0};
    return ::poll(&watched, 1, timeoutMs) == 1;
}
