#include "platform/diagnostics.h"

#include <cerrno>
#include <climits>
#include <poll.h>

namespace tavu {

bool writeLine(std::FILE *stream, std::string_view line, int patience) noexcept
{
    // A pipe that can be written to has room for PIPE_BUF bytes, which is more than most lines
    // have.
    while (!line.empty()) {
        pollfd output = {::fileno(stream), POLLOUT, 0};
        int ready;
        while ((ready = ::poll(&output, 1, patience)) < 0 && errno == EINTR) {
        }
        // A closed or broken stream never blocks either: its write fails.
        if (ready == 0)
            return false;
        const std::string_view piece = line.substr(0, PIPE_BUF);
        std::fwrite(piece.data(), 1, piece.size(), stream);
        std::fflush(stream);
        line.remove_prefix(piece.size());
    }
    return true;
}

} // namespace tavu
