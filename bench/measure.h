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

/// What came of measuring two things side by side: the median of each, and the median of the
/// rounds' ratios, ours to the peer's.
struct Comparison
{
    double ours;
    double peer;
    double ratio;
};

/// Takes both figures in each of \a rounds, in turns as to which comes first, so that whatever else
/// the machine does meets both alike. One round ahead warms up and doesn't count.
Comparison compare(int rounds, const std::function<double()> &ours,
                   const std::function<double()> &peer);

/// The emulated device's ramp, in the form that compilers turn into the fewest vector instructions:
/// a counter no wider than a pixel. Returns the value behind the last one.
uint16_t fillRamp(uint16_t *pixels, size_t count, uint16_t first);

/// A number with three digits that count, and its unit.
std::string figure(double value, const char *unit);

/// One row of the table: columns between tabs. Those without a peer or target pass "-".
void printRow(const std::string &name, const std::string &ours, const std::string &peer,
              const std::string &ratio, const std::string &target);
void printRow(const std::string &name, const Comparison &comparison, double scale, const char *unit,
              const std::string &target);

} // namespace tavu::bench
