#include "client/tavuctl/child_process.h"

#include "client/tavuctl/session.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

namespace tavu::ctl {

namespace {

/// Leaves the signals that a terminal sends to the whole job to the program that we run.
class TerminalSignalsIgnored
{
public:
    TerminalSignalsIgnored()
    {
        interrupt_ = std::signal(SIGINT, SIG_IGN);
        quit_ = std::signal(SIGQUIT, SIG_IGN);
    }
    ~TerminalSignalsIgnored()
    {
        std::signal(SIGINT, interrupt_);
        std::signal(SIGQUIT, quit_);
    }

private:
    using Handler = void (*)(int);
    Handler interrupt_;
    Handler quit_;
};

} // namespace

int runProgram(const std::vector<std::string> &words)
{
    std::vector<char *> arguments;
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);

    sigset_t defaults;
    sigemptyset(&defaults);
    for (const int number : {SIGPIPE, SIGINT, SIGQUIT})
        sigaddset(&defaults, number);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigdefault(&attributes, &defaults);

    const TerminalSignalsIgnored ignored;
    pid_t child = 0;
    const int error =
        ::posix_spawnp(&child, arguments[0], nullptr, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    if (error != 0)
        throw Failure("can't run " + words[0] + ": " + std::strerror(error));

    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            throw Failure(std::string("can't wait for ") + words[0] + ": " + std::strerror(errno));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace tavu::ctl
