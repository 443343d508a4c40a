#include "platform/clock.h"

#include <gtest/gtest.h>

#include <ctime>

namespace tavu {
namespace {

TEST(ClockTest, TimeStampsCountFrom1601)
{
    const auto seconds = static_cast<uint64_t>(std::time(nullptr));
    // 134774 days lie between the epoch of time() and that of our time stamps.
    const uint64_t stamp = utcTimestamp() / 10'000'000 - 134774ull * 86400;
    EXPECT_GE(stamp + 1, seconds);
    EXPECT_LE(stamp, seconds + 60);
#if defined(_WIN32)
    EXPECT_EQ(utcTimestamp() % 10'000, 0u); // whole milliseconds
#endif
}

TEST(ClockTest, SleepNeverEndsEarly)
{
    for (const uint64_t nanoseconds : {1ull, 50'000ull, 3'000'000ull}) {
        const uint64_t deadline = monotonicNanoseconds() + nanoseconds;
        sleepUntilMonotonic(deadline);
        EXPECT_GE(monotonicNanoseconds(), deadline);
    }
    sleepUntilMonotonic(0);
}

} // namespace
} // namespace tavu
