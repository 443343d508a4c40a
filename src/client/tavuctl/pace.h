#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavu::ctl {

/// How fast and how evenly frames come, from their count at moments of time.
class Pace
{
public:
    using Clock = std::chrono::steady_clock;

    /// \a isSampled: the count is only looked at now and then, so that frames may have come at any
    /// time since the look before.
    explicit Pace(bool isSampled = false) : isSampled_(isSampled) {}

    /// There are \a count frames at \a when, the last of them of \a frameBytes. Counts and times
    /// never fall.
    void add(Clock::time_point when, uint64_t count, uint64_t frameBytes);

    uint64_t count() const { return count_; }
    /// Between the first frame and the last.
    double seconds() const { return seconds_; }
    /// Frames and bytes a second; 0 when there aren't frames enough to tell.
    double frameRate() const { return seconds_ > 0 ? double(paced_) / seconds_ : 0; }
    double byteRate() const { return frameRate() * double(frameBytes_); }
    /// Standard deviation of the time from frame to frame, in seconds.
    std::optional<double> jitter() const;
    /// The longest time from one frame to the next, in seconds.
    double longestGap() const { return longestGap_; }
    /// From the last frame, or from the first look before there was one, to the last look.
    double idle() const;
    /// What can't be seen because the count is only looked at now and then, in seconds.
    double resolution() const;
    /// "0.4 ms", "< 10 ms" where one can't see finer; empty when nothing is known.
    std::string jitterText() const;

private:
    bool isSampled_;
    uint64_t count_ = 0;
    uint64_t frameBytes_ = 0;
    uint64_t looks_ = 0;
    uint64_t steps_ = 0; ///< looks that found more frames, but for the first
    uint64_t paced_ = 0; ///< frames since the first look that found one
    double seconds_ = 0;
    double squares_ = 0; ///< sum of each step's time squared, by its frames
    double longestGap_ = 0;
    Clock::time_point firstLook_;
    Clock::time_point lastLook_;
    Clock::time_point lastFrame_;
};

/// What a line about running work tells: frames and bytes a second of all together, and the
/// greatest jitter. Empty before there is half a second to tell of.
std::vector<std::string> paceTexts(std::span<const Pace> paces);

/// The heads of a table's columns about a pace, and one row's cells.
std::vector<std::string> paceHeads();
std::vector<std::string> paceCells(const Pace &pace);
/// The same as the members of a JSON object; what isn't known is null.
void addPace(nlohmann::ordered_json &json, const Pace &pace);

} // namespace tavu::ctl
