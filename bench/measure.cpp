#include "measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace tavu::bench {

double secondsOf(const std::function<void()> &work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Comparison compare(int rounds, const std::function<double()> &ours,
                   const std::function<double()> &peer)
{
    std::vector<double> all[3];
    for (int round = -1; round < rounds; ++round) {
        double figures[2];
        for (int turn = 0; turn < 2; ++turn) {
            const bool isOurs = ((round + turn) & 1) != 0;
            figures[isOurs ? 0 : 1] = isOurs ? ours() : peer();
        }
        if (round < 0)
            continue;
        all[0].push_back(figures[0]);
        all[1].push_back(figures[1]);
        all[2].push_back(figures[0] / figures[1]);
    }
    return {median(all[0]), median(all[1]), median(all[2])};
}

uint16_t fillRamp(uint16_t *pixels, size_t count, uint16_t first)
{
    for (size_t i = 0; i < count; ++i)
        pixels[i] = first++;
    return first;
}

std::string figure(double value, const char *unit)
{
    const int digits =
        std::clamp(2 - static_cast<int>(std::floor(std::log10(std::fabs(value)))), 0, 4);
    char text[64];
    std::snprintf(text, sizeof text, "%.*f %s", value == 0 ? 0 : digits, value, unit);
    return text;
}

void printRow(const std::string &name, const std::string &ours, const std::string &peer,
              const std::string &ratio, const std::string &target)
{
    std::printf("%s\t%s\t%s\t%s\t%s\n", name.c_str(), ours.c_str(), peer.c_str(), ratio.c_str(),
                target.c_str());
    std::fflush(stdout);
}

void printRow(const std::string &name, const Comparison &comparison, double scale, const char *unit,
              const std::string &target)
{
    char ratio[32];
    std::snprintf(ratio, sizeof ratio, "%.2f", comparison.ratio);
    printRow(name, figure(comparison.ours * scale, unit), figure(comparison.peer * scale, unit),
             ratio, target);
}

} // namespace tavu::bench
