#pragma once

#include <cstdio>

#if defined(__GNUC__)
#define TAVU_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define TAVU_PRINTF_LIKE(text, first)
#endif

namespace tavu {

/// Prints formatted text to \a stream and flushes it, so that whoever follows our output sees each
/// line when it happens. A stream whose reader is gone is ignored, and where the system can tell
/// that the reader has stopped reading, lines are dropped: nobody waits for long for a line.
/// Standard error and all else stall each on their own.
void printLine(std::FILE *stream, const char *format, ...) TAVU_PRINTF_LIKE(2, 3);

/// Waits for at most \a milliseconds until a line can be written to \a stream without blocking;
/// false when it can't. Where the system has no such question, true.
bool waitUntilWritable(std::FILE *stream, int milliseconds);

} // namespace tavu
