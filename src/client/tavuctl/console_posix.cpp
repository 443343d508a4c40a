#include "client/tavuctl/console.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <sys/ioctl.h>
#include <thread>
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

void pauseFor(unsigned milliseconds)
{
    using namespace std::chrono;
    constexpr milliseconds::rep kSlice = 20;
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (auto now = steady_clock::now(); now < end && !interrupted(); now = steady_clock::now()) {
        const auto left = ceil<std::chrono::milliseconds>(end - now);
        std::this_thread::sleep_for(std::min(left, std::chrono::milliseconds(kSlice)));
    }
}

} // namespace tavu::ctl
