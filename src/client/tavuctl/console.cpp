#include "client/tavuctl/console.h"

#include "platform/environment.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace tavu::ctl {

bool showsColours(std::FILE *stream)
{
    return obeysEscapes(stream) && !environmentFlag("NO_COLOR");
}

void pauseFor(unsigned milliseconds)
{
    using namespace std::chrono;
    constexpr milliseconds::rep kSlice = 20;
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (auto now = steady_clock::now(); now < end && !interrupted(); now = steady_clock::now()) {
        const auto left = ceil<std::chrono::milliseconds>(end - now);
        std::this_thread::sleep_for(std::min(left, std::chrono::milliseconds(kSlice)));
    }
}

} // namespace tavu::ctl
