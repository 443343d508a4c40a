#include "client/tavuctl/console.h"

#include "platform/environment.h"

#include <atomic>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <langinfo.h>
#include <string>
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

bool obeysEscapes(std::FILE *stream)
{
    const std::string terminal = environmentVariable("TERM").value_or("");
    return isConsole(stream) && !terminal.empty() && terminal != "dumb";
}

bool consolesShowUtf8()
{
    // The program itself stays in the locale "C", in which numbers have a point.
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", nullptr);
    if (!locale)
        return false;
    const std::string characters = ::nl_langinfo_l(CODESET, locale);
    ::freelocale(locale);
    return characters == "UTF-8";
}

void prepareStandardStreams()
{
    // If we were started with a stream closed, the connection would get its number and our output
    // with it. So /dev/null takes the number, opened the wrong way round: using it still fails.
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
