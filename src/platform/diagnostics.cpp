#include "platform/diagnostics.h"

#include <algorithm>
#include <cstdarg>
#include <memory>
#include <mutex>
#include <new>

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
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    char buffer[1024];
    const auto length =
        static_cast<size_t>(std::max(0, std::vsnprintf(buffer, sizeof buffer, format, arguments)));
    va_end(arguments);
    std::string_view line(buffer, std::min(length, sizeof buffer - 1));
    std::unique_ptr<char[]> longer;
    if (length >= sizeof buffer)
        longer.reset(new (std::nothrow) char[length + 1]);
    if (longer) {
        std::vsnprintf(longer.get(), length + 1, format, again);
        line = {longer.get(), length};
    }
    va_end(again);

    // One line at a time over both streams, which often end in the same file.
    static std::mutex mutex;
    std::lock_guard guard(mutex);
    bool &stalled = stream == stderr ? errorsStalled : outputStalled;
    stalled = !writeLine(stream, line, stalled ? 0 : kPatience);
}

} // namespace tavu
