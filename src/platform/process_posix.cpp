#include "platform/process.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tavu {

namespace {

/// A standard stream that we were started without would pass its number on to the first file or
/// client, which would then get our diagnostics.
void fillStandardStreams()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", O_RDWR)); // takes the lowest free number
    }
}

} // namespace

void prepareProcess()
{
    fillStandardStreams();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file at its size limit is a failing write like any other
    rlimit limit;
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

} // namespace tavu
