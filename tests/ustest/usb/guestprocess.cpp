#include "guestprocess.h"

#include <csignal>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int could_not_begin = 250;
constexpr int was_killed = 251;

/// What an ordinary user is to this process before it becomes one.
struct Identity
{
    uid_t user = 0;
    gid_t group = 0;
    gid_t further_group = 0;
};

Identity identity_of(const GuestUser &user)
{
    const passwd *const entry = getpwnam("nobody");
    Identity identity = {entry->pw_uid, entry->pw_gid, entry->pw_gid};
    if (!user.group.empty())
        identity.further_group = getgrnam(user.group.c_str())->gr_gid;
    return identity;
}

bool become(const Identity &identity)
{
    return setgroups(1, &identity.further_group) == 0 && setgid(identity.group) == 0 && setuid(identity.user) == 0;
}

int wait_for(int process)
{
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : was_killed;
}

void drop_messages()
{
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

/// Becomes the program; returns only when that cannot be.
int execute(const std::vector<std::string> &words)
{
    std::vector<char *> arguments;
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    execv(("./" + words[0]).c_str(), arguments.data());
    return could_not_begin;
}

} // namespace

GuestEnd run_as(const GuestUser &user, const std::function<int()> &function)
{
    const Identity identity = identity_of(user);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {could_not_begin, {}};
    const int process = fork();
    if (process == 0) {
        dup2(ends[1], STDOUT_FILENO);
        _exit(!user.is_ordinary || become(identity) ? function() : could_not_begin);
    }
    close(ends[1]);
    GuestEnd end;
    char bytes[512];
    for (ssize_t count = 0; (count = read(ends[0], bytes, sizeof bytes)) > 0;)
        end.output.append(bytes, static_cast<size_t>(count));
    close(ends[0]);
    end.status = wait_for(process);
    return end;
}

GuestEnd run_program(const GuestUser &user, const std::vector<std::string> &words)
{
    return run_as(user, [&] {
        drop_messages();
        return execute(words);
    });
}

GuestProgram::GuestProgram(const std::vector<std::string> &words)
    : m_process(fork())
{
    if (m_process == 0)
        _exit(execute(words));
}

GuestProgram::~GuestProgram()
{
    if (m_process > 0)
        interrupt();
}

int GuestProgram::interrupt()
{
    kill(m_process, SIGINT);
    const int status = wait_for(m_process);
    m_process = -1;
    return status;
}
