#include "storage/stripe_allocator.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace simulator {

uint64_t stripesOf(const Extents &extents)
{
    uint64_t stripes = 0;
    for (const Extent &extent : extents)
        stripes += extent.count;
    return stripes;
}

void append(Extents &extents, const Extents &more)
{
    for (const Extent &extent : more) {
        if (!extents.empty() && extents.back().first + extents.back().count == extent.first)
            extents.back().count += extent.count;
        else
            extents.push_back(extent);
    }
}

Extents cutOff(Extents &extents, uint64_t stripes)
{
    Extents kept;
    Extents rest;
    for (const Extent &extent : extents) {
        const uint64_t count = std::min(extent.count, stripes);
        stripes -= count;
        if (count > 0)
            kept.push_back({extent.first, count});
        if (count < extent.count)
            rest.push_back({extent.first + count, extent.count - count});
    }
    extents = std::move(kept);
    return rest;
}

StripeAllocator::StripeAllocator(uint64_t stripes) : free_(stripes)
{
    if (stripes > 0)
        runs_[0] = stripes;
}

Extents StripeAllocator::allocate(uint64_t stripes)
{
    Extents extents;
    while (stripes > 0 && !runs_.empty()) {
        const auto [first, count] = *runs_.begin();
        const uint64_t taken = std::min(count, stripes);
        extents.push_back({first, taken});
        runs_.erase(runs_.begin());
        if (taken < count)
            runs_[first + taken] = count - taken;
        stripes -= taken;
        free_ -= taken;
    }
    return extents;
}

bool StripeAllocator::reserve(const Extents &extents)
{
    for (size_t i = 0; i < extents.size(); ++i) {
        if (!reserve(extents[i])) {
            release(Extents(extents.begin(), extents.begin() + static_cast<ptrdiff_t>(i)));
            return false;
        }
    }
    return true;
}

bool StripeAllocator::reserve(const Extent &extent)
{
    auto run = runs_.upper_bound(extent.first);
    if (run == runs_.begin())
        return false;
    --run;
    const auto [first, count] = *run;
    const uint64_t before = extent.first - first;
    if (before > count || extent.count > count - before)
        return false;
    runs_.erase(run);
    if (before > 0)
        runs_[first] = before;
    if (before + extent.count < count)
        runs_[extent.first + extent.count] = count - before - extent.count;
    free_ -= extent.count;
    return true;
}

void StripeAllocator::release(const Extents &extents)
{
    for (const Extent &extent : extents) {
        if (extent.count == 0)
            continue;
        free_ += extent.count;
        auto run = runs_.insert({extent.first, extent.count}).first;
        const auto next = std::next(run);
        if (next != runs_.end() && run->first + run->second == next->first) {
            run->second += next->second;
            runs_.erase(next);
        }
        if (run == runs_.begin())
            continue;
        const auto previous = std::prev(run);
        if (previous->first + previous->second == run->first) {
            previous->second += run->second;
            runs_.erase(run);
        }
    }
}

} // namespace simulator
