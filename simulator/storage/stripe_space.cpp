#include "storage/stripe_space.h"

#include "errors.h"

#include <algorithm>
#include <mutex>

namespace simulator {

StripeSpace::StripeSpace(const std::vector<std::filesystem::path> &drives, uint32_t clusterBytes)
    : clusterBytes_(clusterBytes), stripeBytes_(uint64_t(clusterBytes) * drives.size()),
      drives_(drives.begin(), drives.end())
{
}

template <typename Transfer>
void StripeSpace::transfer(const Extents &extents, uint64_t offset, uint64_t size,
                           Transfer transferPiece) const
{
    std::shared_lock guard(mutex_);
    if (drives_.empty())
        raiseError("The drive set was removed.");
    uint64_t stripe = offset / stripeBytes_;
    uint64_t place = offset % stripeBytes_;
    auto extent = extents.begin();
    while (size > 0) {
        for (; extent != extents.end() && stripe >= extent->count; ++extent)
            stripe -= extent->count;
        if (extent == extents.end())
            raiseError("The file ends before that.");
        const uint64_t inCluster = place % clusterBytes_;
        const uint64_t count = std::min(size, clusterBytes_ - inCluster);
        transferPiece(drives_[place / clusterBytes_],
                      (extent->first + stripe) * clusterBytes_ + inCluster, count);
        size -= count;
        place += count;
        if (place == stripeBytes_) {
            place = 0;
            ++stripe;
        }
    }
}

void StripeSpace::read(const Extents &extents, uint64_t offset, void *target, uint64_t size) const
{
    auto *bytes = static_cast<uint8_t *>(target);
    transfer(extents, offset, size,
             [&bytes](const PositionedFile &drive, uint64_t place, uint64_t count) {
                 drive.read(place, bytes, count);
                 bytes += count;
             });
}

void StripeSpace::write(const Extents &extents, uint64_t offset, const void *source,
                        uint64_t size) const
{
    const auto *bytes = static_cast<const uint8_t *>(source);
    transfer(extents, offset, size,
             [&bytes](const PositionedFile &drive, uint64_t place, uint64_t count) {
                 drive.write(place, bytes, count);
                 bytes += count;
             });
}

void StripeSpace::close()
{
    std::lock_guard guard(mutex_);
    drives_.clear();
}

} // namespace simulator
