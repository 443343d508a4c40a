#include "client/tavuctl/progress.h"

#include "client/tavuctl/console.h"
#include "client/tavuctl/session.h"
#include "client/tools/text.h"

#include <algorithm>
#include <cstdio>

namespace tavu::ctl {

namespace {

constexpr unsigned kBarWidth = 30;

std::string bar(double fraction)
{
    const double filled = std::clamp(fraction, 0.0, 1.0) * kBarWidth;
    const auto full = static_cast<unsigned>(filled);
    std::string result = " [" + std::string(full, '#');
    result.append(kBarWidth - full, '.');
    return result + "]";
}

} // namespace

Progress::Progress(std::string label, std::optional<uint64_t> total)
    : label_(std::move(label)), total_(total), onTerminal_(isConsole(stderr)), start_(Clock::now()),
      nextDraw_(start_)
{
    // Work that is over soon needs no plain line.
    if (!onTerminal_)
        nextDraw_ += std::chrono::seconds(2);
}

Progress::~Progress()
{
    if (!onTerminal_ || !drawn_)
        return;
    draw();
    note("");
}

void Progress::update(uint64_t count, const std::string &remark, std::optional<double> fraction)
{
    const auto now = Clock::now();
    // The rate is that of the work, not of what was there when it began.
    if (count_ == 0) {
        firstCount_ = count;
        start_ = now;
    }
    count_ = count;
    remark_ = remark;
    fraction_ = fraction;
    if (now < nextDraw_)
        return;
    nextDraw_ = now + std::chrono::milliseconds(onTerminal_ ? 100 : 2000);
    draw();
    drawn_ = true;
}

void Progress::draw()
{
    std::string line = label_;
    std::optional<double> fraction = fraction_;
    if (!fraction && total_ && *total_ > 0)
        fraction = static_cast<double>(count_) / static_cast<double>(*total_);
    if (onTerminal_ && fraction)
        line += bar(*fraction);
    line += ' ';
    line += total_ ? std::to_string(count_) + " of " + counted(*total_, "frame")
                   : counted(count_, "frame");
    const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    if (count_ > firstCount_ && seconds >= 0.5)
        line += ", " + rateText(count_ - firstCount_, seconds);
    if (!remark_.empty())
        line += ", " + remark_;
    if (!onTerminal_) {
        note(line);
        return;
    }
    std::fprintf(stderr, "\r%s\033[K", line.c_str());
    std::fflush(stderr);
}

} // namespace tavu::ctl
