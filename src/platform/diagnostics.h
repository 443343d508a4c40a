#pragma once

#include <cstdio>
#include <string_view>

#if defined(__GNUC__)
#define TAVU_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define TAVU_PRINTF_LIKE(text, first)
#endif

namespace tavu {

/// Prints formatted text to \a stream and flushes it, so that whoever follows our output sees each
/// line when it happens. A stream whose reader is gone is ignored, and while a reader doesn't read
/// (a pipe that nobody empties, a console in which somebody marks text), lines are dropped: nobody
/// waits for long for a line. Standard error and all else stall each on their own.
void printLine(std::FILE *stream, const char *format, ...) TAVU_PRINTF_LIKE(2, 3);

/// Writes \a line to \a stream. False when the reader hasn't made room for it within \a patience
/// milliseconds; what was written until then stays written. Only one thread at a time may call it.
bool writeLine(std::FILE *stream, std::string_view line, int patience) noexcept;

} // namespace tavu
