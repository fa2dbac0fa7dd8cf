#include "packagescene.h"

#include <cerrno>
#include <csignal>

bool isAlive(qint64 pid)
{
    return kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH;
}
