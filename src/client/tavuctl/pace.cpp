#include "client/tavuctl/pace.h"

#include "client/tools/text.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace tavu::ctl {

using namespace tools;

void Pace::add(Clock::time_point when, uint64_t count, uint64_t frameBytes)
{
    if (looks_++ == 0)
        firstLook_ = when;
    lastLook_ = when;
    frameBytes_ = frameBytes;
    if (count <= count_)
        return;
    if (count_ > 0) {
        const double step = std::chrono::duration<double>(when - lastFrame_).count();
        const auto frames = static_cast<double>(count - count_);
        ++steps_;
        paced_ += count - count_;
        seconds_ += step;
        squares_ += step * step / frames;
        longestGap_ = std::max(longestGap_, step);
    }
    count_ = count;
    lastFrame_ = when;
}

std::optional<double> Pace::jitter() const
{
    if (steps_ < 2)
        return std::nullopt;
    // A step of k frames deviates with k times the variance of one frame.
    const double sum = squares_ - seconds_ * seconds_ / static_cast<double>(paced_);
    return std::sqrt(std::max(0.0, sum) / static_cast<double>(steps_ - 1));
}

double Pace::resolution() const
{
    if (!isSampled_ || looks_ < 2)
        return 0;
    return std::chrono::duration<double>(lastLook_ - firstLook_).count() /
           static_cast<double>(looks_ - 1);
}

double Pace::idle() const
{
    return std::chrono::duration<double>(lastLook_ - (count_ > 0 ? lastFrame_ : firstLook_))
        .count();
}

std::string Pace::jitterText() const
{
    const std::optional<double> value = jitter();
    if (!value)
        return {};
    // Whole milliseconds: a line has little room.
    return *value < resolution() ? "< " + decimals(resolution() * 1000, 0) + " ms"
                                 : millisecondsText(*value);
}

std::vector<std::string> paceTexts(std::span<const Pace> paces)
{
    double seconds = 0, frameRate = 0, byteRate = 0;
    const Pace *worst = nullptr;
    for (const Pace &pace : paces) {
        seconds = std::max(seconds, pace.seconds());
        frameRate += pace.frameRate();
        byteRate += pace.byteRate();
        if (pace.jitter() && (!worst || *pace.jitter() > *worst->jitter()))
            worst = &pace;
    }
    if (seconds < 0.5)
        return {};
    std::vector<std::string> texts = {rateText(frameRate)};
    if (byteRate > 0)
        texts.push_back(byteRateText(byteRate) + " MB/s");
    if (worst)
        texts.push_back("jitter " + worst->jitterText());
    return texts;
}

std::vector<std::string> paceHeads()
{
    return {"FRAMES", "SECONDS", "FRAMES/S", "MB/S", "JITTER", "LONGEST GAP"};
}

std::vector<std::string> paceCells(const Pace &pace)
{
    const auto known = [](bool isKnown, const std::string &text) { return isKnown ? text : "-"; };
    return {std::to_string(pace.count()),
            decimals(pace.seconds(), 3),
            known(pace.frameRate() > 0, decimals(pace.frameRate(), 2)),
            known(pace.byteRate() > 0, byteRateText(pace.byteRate())),
            known(pace.jitter().has_value(), pace.jitterText()),
            known(pace.longestGap() > 0, millisecondsText(pace.longestGap()))};
}

void addPace(nlohmann::ordered_json &json, const Pace &pace)
{
    const auto number = [](double value) {
        return value > 0 ? nlohmann::ordered_json(value) : nlohmann::ordered_json();
    };
    json["frames"] = pace.count();
    json["seconds"] = pace.seconds();
    json["framesPerSecond"] = number(pace.frameRate());
    json["bytesPerSecond"] = number(pace.byteRate());
    json["jitterSeconds"] = pace.jitter() ? nlohmann::ordered_json(*pace.jitter()) : nullptr;
    json["longestGapSeconds"] = number(pace.longestGap());
    json["resolutionSeconds"] = pace.resolution();
}

} // namespace tavu::ctl
