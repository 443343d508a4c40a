#include "client/tavuctl/pace.h"

#include "client/tavuctl/progress.h"

#include <cmath>
#include <gtest/gtest.h>
#include <utility>

namespace tavu::ctl {
namespace {

using namespace std::chrono_literals;

TEST(Pace, TellsRateJitterAndGaps)
{
    Pace pace;
    const Pace::Clock::time_point start;
    EXPECT_EQ(pace.frameRate(), 0);
    const std::chrono::milliseconds times[] = {0ms, 90ms, 200ms, 290ms, 400ms};
    for (uint64_t i = 0; i < 5; ++i)
        pace.add(start + times[i], i + 1, 1000);
    EXPECT_DOUBLE_EQ(pace.frameRate(), 10);
    EXPECT_DOUBLE_EQ(pace.byteRate(), 10'000);
    EXPECT_NEAR(*pace.jitter(), 0.01 * std::sqrt(4.0 / 3), 1e-9); // of 90, 110, 90, 110 ms
    EXPECT_NEAR(pace.longestGap(), 0.11, 1e-9);
    EXPECT_EQ(pace.jitterText(), "11.5 ms");
}

TEST(Pace, DoesNotTellFinerThanItLooks)
{
    // Frames every 4 ms from 1 s on, which is looked at every 10 ms: 2 or 3 new ones each time.
    Pace pace(true);
    for (uint64_t ms = 0; ms <= 2000; ms += 10)
        pace.add(Pace::Clock::time_point(std::chrono::milliseconds(ms)),
                 ms < 1000 ? 0 : (ms - 1000) / 4 + 1, 0);
    EXPECT_NEAR(pace.frameRate(), 250, 1);
    EXPECT_EQ(pace.jitterText(), "< 10 ms");
    EXPECT_NEAR(pace.longestGap(), 0.01, 1e-9);
    EXPECT_EQ(paceTexts({&pace, 1}),
              (std::vector<std::string>{"250.0 a second", "jitter < 10 ms"}));
    pace.add(Pace::Clock::time_point(7s), 251, 0);
    EXPECT_NEAR(pace.idle(), 5, 1e-9);
}

TEST(Progress, LeavesOutWhatDoesNotFit)
{
    const ProgressState state = {"recording", 45, 90, {}, {"29.9 a second", "39.2 MB/s"}};
    const std::string whole = "recording 45 of 90 frames, 29.9 a second, 39.2 MB/s";
    const std::pair<unsigned, std::string> cases[] = {
        {20, "recording 45 of 90 frames"},
        {40, "recording 45 of 90 frames, 29.9 a second"},
        {61, whole},
        {62, "recording [####....]" + whole.substr(9)},
        {200, "recording [" + std::string(15, '#') + std::string(15, '.') + "]" + whole.substr(9)}};
    for (const auto &[columns, line] : cases)
        EXPECT_EQ(progressText(state, columns, true), line) << columns;
    EXPECT_EQ(progressText(state, ~0u, false), whole);
}

} // namespace
} // namespace tavu::ctl
