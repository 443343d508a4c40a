#include "fault_plan.h"

#include "settings_file.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <utility>

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
    if (verb == "raise" && !rest.empty())
        effect.error = rest;
    else if (verb == "take")
        effect.milliseconds = parseSmallNumber(rest);
    else if (verb == "empty" && rest.empty())
        effect.empty = true;
    else
        throw std::runtime_error("neither \"raise TEXT\" nor \"take MILLISECONDS\" nor \"empty\"");
    return effect;
}

} // namespace

FaultPlan::Effect &FaultPlan::Effect::operator+=(const Effect &other)
{
    milliseconds += std::min(other.milliseconds, UINT32_MAX - milliseconds);
    empty = empty || other.empty;
    if (error.empty())
        error = other.error;
    return *this;
}

void FaultPlan::load(const std::filesystem::path &file)
{
    std::vector<Fault> faults;
    if (std::filesystem::exists(file)) {
        for (const auto &[number, line] : readLines(file)) {
            try {
                faults.push_back(parse(line));
            } catch (const std::runtime_error &error) {
                failAt(file, number, error.what());
            }
        }
    }
    std::lock_guard guard(mutex_);
    faults_ = std::move(faults);
    calls_.fill(0);
    hasFaults_ = !faults_.empty();
}

FaultPlan::Fault FaultPlan::parse(const std::string &line)
{
    std::istringstream words(line);
    std::string name, calls, verb, rest;
    words >> name >> calls >> verb;
    std::getline(words, rest);
    const auto operation = Operation::findFallible(name);
    if (!operation)
        throw std::runtime_error("there is no operation \"" + name + "\"");
    const auto [firstCall, lastCall] = parseCalls(calls);
    return {*operation, firstCall, lastCall, parseEffect(verb, trimmed(rest))};
}

FaultPlan::Effect FaultPlan::count(Operation operation)
{
    Effect effect;
    if (!hasFaults_)
        return effect;
    std::lock_guard guard(mutex_);
    const uint64_t call = ++calls_[operation.index()];
    for (const Fault &fault : faults_)
        if (fault.operation == operation && call >= fault.firstCall && call <= fault.lastCall)
            effect += fault.effect;
    return effect;
}

} // namespace simulator
