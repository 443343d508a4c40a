#include "platform/clock.h"

#include <chrono>
#include <thread>

namespace tavu {

uint64_t monotonicNanoseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

void sleepUntilMonotonic(uint64_t deadline)
{
    for (uint64_t now = monotonicNanoseconds(); now < deadline; now = monotonicNanoseconds())
        std::this_thread::sleep_for(std::chrono::nanoseconds(deadline - now));
}

} // namespace tavu
