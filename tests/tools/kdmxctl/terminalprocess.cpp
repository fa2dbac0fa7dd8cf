#include "terminalprocess.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>
#include <vector>

namespace {

constexpr int patience_ms = 30000;
constexpr int look_again_ms = 20;

} // namespace

TerminalProcess::TerminalProcess(const QStringList &arguments, unsigned short columns)
{
    std::vector<std::string> words = {qEnvironmentVariable("KDMXCTL").toStdString()};
    for (const QString &argument : arguments)
        words.push_back(argument.toStdString());
    std::vector<char *> pointers;
    for (std::string &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const winsize size = {24, columns, 0, 0};
    if (openpty(&m_terminal, &m_kept_open, nullptr, nullptr, &size) != 0)
        return;
    m_child = fork();
    if (m_child == 0) {
        std::signal(SIGINT, SIG_DFL);
        close(m_terminal);
        login_tty(m_kept_open);
        execv(pointers.front(), pointers.data());
        _exit(99);
    }
}

TerminalProcess::~TerminalProcess()
{
    if (m_child > 0) {
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
    }
    close(m_terminal);
    close(m_kept_open);
}

bool TerminalProcess::read_more(int wait_ms)
{
    pollfd terminal = {m_terminal, POLLIN, 0};
    if (poll(&terminal, 1, wait_ms) <= 0)
        return false;
    char bytes[4096];
    const ssize_t count = read(m_terminal, bytes, sizeof(bytes));
    if (count <= 0)
        return false;
    m_shown.append(bytes, count);
    return true;
}

bool TerminalProcess::await_text(const char *text)
{
    const QDeadlineTimer deadline(patience_ms);
    while (!m_shown.contains(text)) {
        if (!read_more(static_cast<int>(deadline.remainingTime())))
            return false;
    }
    return true;
}

bool TerminalProcess::await_sleep() const
{
    // "PID (NAME) STATE ..."
    QFile status(QStringLiteral("/proc/%1/stat").arg(m_child));
    return QTest::qWaitFor(
        [&] {
            const bool sleeps = status.open(QIODevice::ReadOnly) && status.readAll().contains(") S ");
            status.close();
            return sleeps;
        },
        patience_ms);
}

void TerminalProcess::type(const char *keys)
{
    if (write(m_terminal, keys, qstrlen(keys)) < 0)
        qWarning("nothing can be typed");
}

void TerminalProcess::signal(int number)
{
    // Number -1 would mean every process of the user.
    if (m_child > 0)
        kill(m_child, number);
}

void TerminalProcess::resize(unsigned short columns, unsigned short rows)
{
    const winsize size = {rows, columns, 0, 0};
    ioctl(m_terminal, TIOCSWINSZ, &size);
}

int TerminalProcess::finish()
{
    const QDeadlineTimer deadline(patience_ms);
    int status = 0;
    // What the program shows is taken while it ends: a full terminal would hold it up.
    while (waitpid(m_child, &status, WNOHANG) == 0) {
        if (deadline.hasExpired())
            return -1;
        read_more(look_again_ms);
    }
    m_child = -1;
    while (read_more(0)) { }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

termios TerminalProcess::settings() const
{
    termios settings = {};
    tcgetattr(m_kept_open, &settings);
    return settings;
}
