#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tavu::bench {

/// Seconds that \a work takes.
double secondsOf(const std::function<void()> &work);

double median(std::vector<double> values);
/// The range of the middle half of \a values, to their median.
double scatter(std::vector<double> values);

/// Makes compare() take a quarter of the rounds and of the time.
void measureQuickly();

/// What came of measuring two things side by side.
struct Comparison
{
    double ours;       ///< median
    double peer;       ///< median
    double ratio;      ///< median of the rounds' ratios, ours to the peer's
    double spread;     ///< scatter of the rounds' ratios
    double peerSpread; ///< scatter of the peer's figures: what the machine itself does to a figure
};

/// Takes both figures in each of \a rounds, in turns as to which comes first, so that whatever else
/// the machine does meets both alike. One round ahead warms up and doesn't count. There are fewer
/// rounds where they would take all too long, but never less than three.
Comparison compare(int rounds, const std::function<double()> &ours,
                   const std::function<double()> &peer);

// The rows of the table, for scripts/bench to read. A target is "<", "<=" or ">=" and a number that
// the ratio is held against, or the figure itself where there is nothing to compare it with; "<=
// peer" holds the two figures against each other; "-" is none.

void printRow(const std::string &name, const Comparison &comparison, double scale, const char *unit,
              const char *target);
/// Figures that aren't compared in rounds.
void printFigures(const std::string &name, double ours, double peer, const char *unit,
                  const char *target);
void printFigure(const std::string &name, double ours, const char *unit, const char *target);
/// How the cost of one of many grows from a small count of them to a large one.
void printGrowth(const std::string &name, const Comparison &few, int fewCount,
                 const Comparison &many, int manyCount);
/// A line that is to stand below the table.
void printRemark(const std::string &text);

} // namespace tavu::bench
