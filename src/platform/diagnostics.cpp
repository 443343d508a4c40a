#include "platform/diagnostics.h"

#include <cstdarg>
#include <mutex>

namespace tavu {

namespace {

// How long the first line waits for a reader that has stopped; the lines after it don't.
constexpr int kPatience = 200; ///< milliseconds

// Per stream: a line that one reader takes says nothing about the other reader.
bool outputStalled = false;
bool errorsStalled = false;

} // namespace

void printLine(std::FILE *stream, const char *format, ...)
{
    // One line at a time over both streams, which often end in the same file.
    static std::mutex mutex;
    std::lock_guard guard(mutex);
    bool &stalled = stream == stderr ? errorsStalled : outputStalled;
    stalled = !waitUntilWritable(stream, stalled ? 0 : kPatience);
    if (stalled)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stream, format, arguments);
    va_end(arguments);
    std::fflush(stream);
}

} // namespace tavu
