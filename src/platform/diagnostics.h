#pragma once

#include <cstdio>

#if defined(__GNUC__)
#define TAVU_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define TAVU_PRINTF_LIKE(text, first)
#endif

namespace tavu {

/// Prints formatted text to \a stream and flushes it, so that whoever follows our output sees each
/// line when it happens. A stream whose reader is gone is ignored.
void printLine(std::FILE *stream, const char *format, ...) TAVU_PRINTF_LIKE(2, 3);

} // namespace tavu
