#include "platform/diagnostics.h"

#include <cstdarg>
#include <mutex>

namespace tavu {

void printLine(std::FILE *stream, const char *format, ...)
{
    // One line at a time over both streams, which often end in the same file.
    static std::mutex mutex;
    std::lock_guard guard(mutex);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stream, format, arguments);
    va_end(arguments);
    std::fflush(stream);
}

} // namespace tavu
