#include "fault_plan.h"

#include "operations.h"
#include "settings_file.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <tuple>

namespace simulator {

namespace {

/// "3", "3-", "2-5" or "*" as the first and the last call.
std::pair<uint64_t, uint64_t> parseCalls(const std::string &text)
{
    if (text == "*")
        return {1, UINT64_MAX};
    const size_t dash = text.find('-');
    const uint64_t first = parseNumber(text.substr(0, dash), 1, UINT64_MAX);
    if (dash == std::string::npos)
        return {first, first};
    if (dash + 1 == text.size())
        return {first, UINT64_MAX};
    return {first, parseNumber(text.substr(dash + 1), first, UINT64_MAX)};
}

FaultPlan::Effect parseEffect(const std::string &verb, const std::string &rest)
{
    FaultPlan::Effect effect;
    if (verb == "raise" && !rest.empty()) {
        effect.raises = true;
        effect.text = rest;
    } else if (verb == "take") {
        effect.milliseconds = uint32_t(parseNumber(rest, 0, UINT32_MAX));
    } else if (verb == "empty" && rest.empty()) {
        effect.empty = true;
    } else {
        throw std::runtime_error("neither \"raise TEXT\" nor \"take MILLISECONDS\" nor \"empty\"");
    }
    return effect;
}

} // namespace

FaultPlan::Effect operator+(FaultPlan::Effect left, const FaultPlan::Effect &right)
{
    left.milliseconds += std::min(right.milliseconds, UINT32_MAX - left.milliseconds);
    left.empty = left.empty || right.empty;
    if (!left.raises) {
        left.raises = right.raises;
        left.text = right.text;
    }
    return left;
}

void FaultPlan::load(const std::filesystem::path &file)
{
    std::vector<Fault> faults;
    std::vector<Counter> counters;
    if (std::filesystem::exists(file)) {
        for (const auto &[number, line] : readLines(file)) {
            try {
                faults.push_back(parse(line));
            } catch (const std::runtime_error &error) {
                failAt(file, number, error.what());
            }
        }
    }
    for (const Fault &fault : faults)
        if (std::none_of(counters.begin(), counters.end(), [&](const Counter &counter) {
                return counter.operation == fault.operation;
            }))
            counters.push_back({fault.operation, 0});

    const std::lock_guard lock(mutex_);
    faults_ = std::move(faults);
    counters_ = std::move(counters);
    hasFaults_ = !faults_.empty();
}

FaultPlan::Fault FaultPlan::parse(const std::string &line)
{
    std::istringstream words(line);
    Fault fault;
    std::string calls, verb, rest;
    words >> fault.operation >> calls >> verb;
    std::getline(words, rest);
    if (!isOperation(fault.operation))
        throw std::runtime_error("there is no operation \"" + fault.operation + "\"");
    std::tie(fault.firstCall, fault.lastCall) = parseCalls(calls);
    fault.effect = parseEffect(verb, trimmed(rest));
    return fault;
}

FaultPlan::Effect FaultPlan::count(const char *operation)
{
    Effect effect;
    if (!hasFaults_)
        return effect;
    const std::lock_guard lock(mutex_);
    const auto counter =
        std::find_if(counters_.begin(), counters_.end(),
                     [&](const Counter &known) { return known.operation == operation; });
    if (counter == counters_.end())
        return effect;
    const uint64_t call = ++counter->calls;
    for (const Fault &fault : faults_)
        if (fault.operation == operation && call >= fault.firstCall && call <= fault.lastCall)
            effect = effect + fault.effect;
    return effect;
}

} // namespace simulator
