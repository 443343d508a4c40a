#pragma once

#include "client/tavuctl/pace.h"
#include "client/tavuctl/status_line.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavu::ctl {

/// What a progress line tells.
struct ProgressState
{
    std::string label;                ///< what happens: "recording"
    std::optional<uint64_t> count;    ///< frames so far, where that is what happens
    std::optional<uint64_t> total;    ///< frames that there will be: without them there is no bar,
    std::optional<double> fraction;   ///< unless this says how much of the work is done
    std::vector<std::string> details; ///< in the order in which they matter
};

/// The line for \a state, with a bar if \a withBar. What doesn't fit into \a columns is left out:
/// first the bar, then the last details.
std::string progressText(const ProgressState &state, unsigned columns, bool withBar);

/// Tells on standard error how far some work is, with a bar on a terminal.
class Progress
{
public:
    Progress() = default;
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    ~Progress();

    /// May be called as often as one likes. Another label is shown at once, and so is a first one
    /// without a count, which may last.
    void update(ProgressState state);

private:
    std::string text() const;

    StatusLine line_;
    ProgressState state_;
    bool drawn_ = false;
};

/// The progress of work that takes frames as fast as they come: \a label, and how fast.
class FrameProgress
{
public:
    FrameProgress(std::string label, uint64_t total) : label_(std::move(label)), total_(total) {}

    void update(uint64_t count, uint64_t frameBytes);

private:
    std::string label_;
    uint64_t total_;
    Pace pace_;
    Progress progress_;
};

} // namespace tavu::ctl
