#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tavu::ctl {

/// Tells on standard error how far some work is: a bar that moves on a terminal, a plain line now
/// and then elsewhere.
class Progress
{
public:
    /// \a label says what happens ("recording"), \a total how many frames there will be: without it
    /// there is no bar.
    Progress(std::string label, std::optional<uint64_t> total);
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    ~Progress();

    /// May be called as often as one likes. \a remark goes behind the count of frames. \a fraction
    /// is how much of the work is done where the count doesn't tell.
    void update(uint64_t count, const std::string &remark = {},
                std::optional<double> fraction = std::nullopt);

private:
    using Clock = std::chrono::steady_clock;

    void draw();

    std::string label_;
    std::optional<uint64_t> total_;
    bool onTerminal_;
    Clock::time_point start_;
    Clock::time_point nextDraw_;
    uint64_t count_ = 0;
    uint64_t firstCount_ = 0; ///< the first that wasn't 0
    std::optional<double> fraction_;
    std::string remark_;
    bool drawn_ = false;
};

} // namespace tavu::ctl
