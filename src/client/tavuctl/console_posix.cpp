#include "client/tavuctl/console.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tavu::ctl {

namespace {

std::atomic<bool> interruptSeen{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void rememberInterrupt(int)
{
    interruptSeen.store(true);
}

} // namespace

bool isConsole(std::FILE *stream)
{
    return ::isatty(::fileno(stream)) == 1;
}

ConsoleSize consoleSize(std::FILE *stream)
{
    winsize size{};
    if (::ioctl(::fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return {};
    return {size.ws_col, size.ws_row};
}

void prepareStandardStreams()
{
    // Where we were started without a stream, its number must not go to the next thing that we
    // open: our output would end up in the connection. Opened the wrong way round, the streams
    // still fail when they are used.
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(fd, F_GETFD) < 0)
            ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

void catchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = rememberInterrupt;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction former = {};
        // Whoever started us with a signal ignored (nohup does) meant it.
        if (::sigaction(number, nullptr, &former) == 0 && former.sa_handler != SIG_IGN)
            ::sigaction(number, &action, nullptr);
    }
}

bool interrupted()
{
    return interruptSeen.load();
}

} // namespace tavu::ctl
