#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace simulator {

/// A run of stripes.
struct Extent
{
    uint64_t first = 0;
    uint64_t count = 0;
};

/// The stripes of a file, in the order of its bytes.
using Extents = std::vector<Extent>;

uint64_t stripesOf(const Extents &extents);
void append(Extents &extents, const Extents &more);
/// Cuts \a extents to \a stripes, and returns what is cut off.
Extents cutOff(Extents &extents, uint64_t stripes);

/// Which stripes of a drive set are free. For one thread.
class StripeAllocator
{
public:
    explicit StripeAllocator(uint64_t stripes);

    uint64_t freeStripes() const { return free_; }

    /// Takes \a stripes, or all that are left if these are fewer.
    Extents allocate(uint64_t stripes);
    /// Takes stripes that a file has already. False, with nothing taken, when one isn't free.
    bool reserve(const Extents &extents);
    void release(const Extents &extents);

private:
    bool reserve(const Extent &extent);

    std::map<uint64_t, uint64_t> runs_; ///< first stripe and count of each free run
    uint64_t free_;
};

} // namespace simulator
