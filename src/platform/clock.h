#pragma once

#include <cstdint>

namespace tavu {

/// The wall clock as a count of 100 ns units since 1601-01-01 UTC: the scale of every "timestamp"
/// (the published epoch of Windows' FILETIME). On Windows it goes in whole milliseconds, like the
/// system's own SYSTEMTIME.
uint64_t utcTimestamp();

/// The monotonic clock in nanoseconds from an arbitrary origin.
uint64_t monotonicNanoseconds();

/// Sleeps until monotonicNanoseconds() is at or past \a deadline, however early the system wakes
/// us.
void sleepUntilMonotonic(uint64_t deadline);

} // namespace tavu
