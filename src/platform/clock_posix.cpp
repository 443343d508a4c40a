#include "platform/clock.h"

#include <chrono>

namespace tavu {

namespace {

// 369 years with 89 leap days between the two epochs.
constexpr uint64_t kUnixEpochIn100ns = 116444736000000000ull;

} // namespace

uint64_t utcTimestamp()
{
    using Units = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
    const auto sinceUnixEpoch = std::chrono::system_clock::now().time_since_epoch();
    return kUnixEpochIn100ns +
           static_cast<uint64_t>(std::chrono::duration_cast<Units>(sinceUnixEpoch).count());
}

} // namespace tavu
