#include "umockdevbus.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <glib-unix.h>
#include <linux/capability.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// Runs a program on a USB bus that is made of files, with virtual units on it among other devices. Start it under
// umockdev-wrapper; the program needs no change.

namespace {

constexpr const char *usage = R"(umockdev-wrapper umockdevunit [OPTION]... PROGRAM [ARGUMENT]...

Runs PROGRAM on a USB bus that is made of files, with virtual units on it among other devices, and ends with its exit
code: 128 and the signal's number when a signal has ended it, 70 when it has asked for what disturbs the sound driver.

    --unit SCRIPT   a virtual unit; twice for two of them, up to four. SCRIPT is the text that describes it, "" for one
                    as it leaves the factory
    --forbidden     the user may not use the units

A unit that its script pulls out is plugged in again at once, at the same place with another address, unless it is
pulled out for ever.

PROGRAM finds a socket whose number is in the environment variable KDMX_BUS. It takes one line and gives one: "ok" or
what is wrong. Units count from 0.

    reset N SCRIPT  pulls unit N out and plugs it in as it leaves the factory, with this script
    unplug N        pulls unit N out
    plug N          plugs it in again
    forbid          the user may not use the units
    permit          the user may use the units again
)";

constexpr int exit_usage = 2;
constexpr int exit_cannot_start = 127;
constexpr int exit_signal = 128;
constexpr int exit_offence = 70; ///< the program has asked for what disturbs the sound driver

/// What the command line asks for.
struct Options
{
    std::vector<std::string> scripts;
    bool is_forbidden = false;
    char **program = nullptr;
};

std::optional<Options> read_options(char **arguments)
{
    Options options;
    for (++arguments; *arguments != nullptr && std::string_view(*arguments).starts_with("--"); ++arguments) {
        const std::string_view option = *arguments;
        if (option == "--forbidden")
            options.is_forbidden = true;
        else if (option == "--unit" && arguments[1] != nullptr)
            options.scripts.emplace_back(*++arguments);
        else
            return std::nullopt;
    }
    options.program = arguments;
    return *arguments != nullptr ? std::optional(std::move(options)) : std::nullopt;
}

/// The program and the socket to it.
struct Child
{
    pid_t id;
    int socket;
};

/// In the child: becomes the program.
[[noreturn]] void become(char **program, int socket)
{
    // It ends with the bus, however that ends.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Root gives up the right to pass over the modes of files: they mean to the program what they mean to any user.
    ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
    ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
    ::setenv("KDMX_BUS", std::to_string(socket).c_str(), 1);
    ::execvp(program[0], program);
    std::fprintf(stderr, "umockdevunit: %s: %s\n", program[0], std::strerror(errno));
    ::_exit(exit_cannot_start);
}

std::optional<Child> start(char **program)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0)
        return std::nullopt;
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    const pid_t id = ::fork();
    if (id == 0)
        become(program, ends[1]);
    ::close(ends[1]);
    return id > 0 ? std::optional(Child{id, ends[0]}) : std::nullopt;
}

/// What the main loop works on.
struct Run
{
    UmockdevBus *bus;
    GMainLoop *loop;
    int exit_code;
};

gboolean on_line(int socket, GIOCondition, void *data)
{
    char line[1024];
    const ssize_t length = ::recv(socket, line, sizeof(line), 0);
    if (length <= 0)
        return G_SOURCE_REMOVE; // the program has closed its end
    const std::string answer = static_cast<Run *>(data)->bus->obey({line, static_cast<size_t>(length)});
    ::send(socket, answer.data(), answer.size(), MSG_NOSIGNAL);
    return G_SOURCE_CONTINUE;
}

void on_end(pid_t, int status, void *data)
{
    auto *const run = static_cast<Run *>(data);
    run->exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : exit_signal + WTERMSIG(status);
    g_main_loop_quit(run->loop);
}

int run_to_its_end(UmockdevBus *bus, const Child &child)
{
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(g_main_loop_new(nullptr, FALSE),
                                                                        g_main_loop_unref);
    Run run = {bus, loop.get(), 0};
    g_unix_fd_add(child.socket, G_IO_IN, on_line, &run);
    g_child_watch_add(child.id, on_end, &run);
    g_main_loop_run(loop.get());
    ::close(child.socket);
    return run.exit_code;
}

} // namespace

int main(int, char **arguments)
{
    const std::optional<Options> options = read_options(arguments);
    if (!options) {
        std::fputs(usage, stderr);
        return exit_usage;
    }
    UmockdevBus bus;
    for (const std::string &script : options->scripts) {
        std::string error;
        if (!bus.add_unit(script, &error)) {
            std::fprintf(stderr, "umockdevunit: %s\n", error.c_str());
            return exit_usage;
        }
    }
    if (options->is_forbidden)
        bus.permit(false);
    const std::optional<Child> child = start(options->program);
    if (!child) {
        std::perror("umockdevunit");
        return exit_cannot_start;
    }
    const int exit_code = run_to_its_end(&bus, *child);
    return UmockdevNode::offences() == 0 ? exit_code : exit_offence;
}
