#include "platform/diagnostics.h"

#include <cerrno>
#include <poll.h>

namespace tavu {

bool waitUntilWritable(std::FILE *stream, int milliseconds)
{
    // A full pipe is one without room for PIPE_BUF bytes, which is more than a line has.
    pollfd output = {::fileno(stream), POLLOUT, 0};
    int ready;
    while ((ready = ::poll(&output, 1, milliseconds)) < 0 && errno == EINTR) {
    }
    // A closed or broken stream never blocks either: its write fails.
    return ready != 0;
}

} // namespace tavu
