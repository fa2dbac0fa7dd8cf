#include "processcontrol.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/types.h>

namespace processcontrol {

void suspend(qint64 processId)
{
    ::kill(static_cast<pid_t>(processId), SIGSTOP);
}

void resume(qint64 processId)
{
    ::kill(static_cast<pid_t>(processId), SIGCONT);
}

void endWithThisProcess(QProcess &process)
{
    process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

} // namespace processcontrol
