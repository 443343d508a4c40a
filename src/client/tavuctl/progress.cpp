#include "client/tavuctl/progress.h"

#include "client/tools/text.h"

#include <algorithm>
#include <utility>

namespace tavu::ctl {

using namespace tools;

namespace {

constexpr unsigned kLongestBar = 30;
constexpr unsigned kShortestBar = 8;
constexpr unsigned kAroundBar = 3; ///< a blank and the brackets

std::string bar(double fraction, unsigned width)
{
    const double filled = std::clamp(fraction, 0.0, 1.0) * width;
    const auto full = static_cast<unsigned>(filled);
    return " [" + std::string(full, '#') + std::string(width - full, '.') + "]";
}

} // namespace

std::string progressText(const ProgressState &state, unsigned columns, bool withBar)
{
    std::string line = state.label;
    if (state.count)
        line += " " + (state.total ? std::to_string(*state.count) + " of " : std::string()) +
                counted(state.total.value_or(*state.count), "frame");
    for (const std::string &detail : state.details) {
        const std::string more = line + ", " + detail;
        if (displayWidth(more) > columns)
            break;
        line = more;
    }
    std::optional<double> fraction = state.fraction;
    if (!fraction && state.count && state.total && *state.total > 0)
        fraction = static_cast<double>(*state.count) / static_cast<double>(*state.total);
    const unsigned taken = displayWidth(line) + kAroundBar;
    if (withBar && fraction && taken + kShortestBar <= columns)
        line.insert(state.label.size(), bar(*fraction, std::min(kLongestBar, columns - taken)));
    return line;
}

Progress::~Progress()
{
    if (drawn_ && line_.changesInPlace())
        line_.show(text());
}

std::string Progress::text() const
{
    return progressText(state_, line_.columns(), line_.changesInPlace());
}

void Progress::update(ProgressState state)
{
    if (state.label != state_.label && (!state_.label.empty() || !state.count))
        line_.hurry();
    state_ = std::move(state);
    if (!line_.isDue())
        return;
    line_.show(text());
    drawn_ = true;
}

void FrameProgress::update(uint64_t count, uint64_t frameBytes)
{
    pace_.add(Pace::Clock::now(), count, frameBytes);
    std::vector<std::string> details = paceTexts({&pace_, 1});
    // How evenly we work ourselves says nothing about a camera.
    details.resize(std::min<size_t>(details.size(), 2));
    progress_.update({label_, count, total_, std::nullopt, std::move(details)});
}

} // namespace tavu::ctl
