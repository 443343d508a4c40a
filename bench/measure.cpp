#include "measure.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>

namespace tavu::bench {

namespace {

constexpr int kFewestRounds = 3;
constexpr auto kMostTime = std::chrono::seconds(20);

bool quick = false;

/// The value below which a share of the sorted values lie.
double quantile(const std::vector<double> &sorted, double share)
{
    const double place = share * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<size_t>(place);
    const size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (place - static_cast<double>(below)) * (sorted[above] - sorted[below]);
}

std::string cell(std::optional<double> value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.9g", value.value_or(0));
    return value ? text : "-";
}

/// Columns between tabs, always flushed: whoever reads sees a row when it is measured.
void printCells(const std::vector<std::string> &cells)
{
    for (size_t i = 0; i < cells.size(); ++i)
        std::printf("%s%s", i == 0 ? "" : "\t", cells[i].c_str());
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace

double secondsOf(const std::function<void()> &work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return quantile(values, 0.5);
}

double scatter(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return (quantile(values, 0.75) - quantile(values, 0.25)) / quantile(values, 0.5);
}

void measureQuickly()
{
    quick = true;
}

Comparison compare(int rounds, const std::function<double()> &ours,
                   const std::function<double()> &peer)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> all[2], ratios;
    const int most = quick ? std::max(kFewestRounds, rounds / 4) : rounds;
    const auto limit = Clock::now() + (quick ? kMostTime / 4 : kMostTime);
    for (int round = -1; round < most && (round < kFewestRounds || Clock::now() < limit); ++round) {
        double figures[2];
        for (int turn = 0; turn < 2; ++turn) {
            const bool isOurs = ((round + turn) & 1) != 0;
            figures[isOurs ? 0 : 1] = isOurs ? ours() : peer();
        }
        if (round < 0)
            continue;
        all[0].push_back(figures[0]);
        all[1].push_back(figures[1]);
        ratios.push_back(figures[0] / figures[1]);
    }
    return {median(all[0]), median(all[1]), median(ratios), scatter(ratios), scatter(all[1])};
}

void printRow(const std::string &name, const Comparison &comparison, double scale, const char *unit,
              const char *target)
{
    printCells({name, unit, cell(comparison.ours * scale), cell(comparison.peer * scale),
                cell(comparison.ratio), cell(comparison.spread), cell(comparison.peerSpread),
                target});
}

void printFigures(const std::string &name, double ours, double peer, const char *unit,
                  const char *target)
{
    printCells({name, unit, cell(ours), cell(peer), "-", "-", "-", target});
}

void printFigure(const std::string &name, double ours, const char *unit, const char *target)
{
    printCells({name, unit, cell(ours), "-", "-", "-", "-", target});
}

void printGrowth(const std::string &name, const Comparison &few, int fewCount,
                 const Comparison &many, int manyCount)
{
    const double costs[] = {many.ours / manyCount, few.ours / fewCount};
    // Less than a half more where the count grows tenfold; a quadratic way would make it ten times.
    printRow(name,
             {costs[0], costs[1], costs[0] / costs[1], std::max(few.spread, many.spread),
              std::max(few.peerSpread, many.peerSpread)},
             1e6, "us", "<= 1.50");
}

void printRemark(const std::string &text)
{
    printCells({"#", text});
}

} // namespace tavu::bench
