#include "platform/process.h"

#include <csignal>
#include <sys/resource.h>

namespace tavu {

void prepareProcess()
{
    std::signal(SIGPIPE, SIG_IGN);
    rlimit limit;
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

} // namespace tavu
