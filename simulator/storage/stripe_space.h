#pragma once

#include "storage/positioned_file.h"
#include "storage/stripe_allocator.h"

#include <cstdint>
#include <filesystem>
#include <shared_mutex>

namespace simulator {

/// The bytes of a drive set: a file's bytes go round its drives, cluster by cluster. Any thread.
/// Operations raise Common::GeneralException.
class StripeSpace
{
public:
    StripeSpace(const std::vector<std::filesystem::path> &drives, uint32_t clusterBytes);

    /// Bytes of one stripe: a cluster on each drive.
    uint64_t stripeBytes() const { return stripeBytes_; }

    /// Bytes from \a offset on of what lies in \a extents.
    void read(const Extents &extents, uint64_t offset, void *target, uint64_t size) const;
    void write(const Extents &extents, uint64_t offset, const void *source, uint64_t size) const;

    /// Waits for transfers under way; later ones raise.
    void close();

private:
    template <typename Transfer>
    void transfer(const Extents &extents, uint64_t offset, uint64_t size,
                  Transfer transferPiece) const;

    const uint32_t clusterBytes_;
    const uint64_t stripeBytes_;
    mutable std::shared_mutex mutex_; ///< held shared by transfers
    std::vector<PositionedFile> drives_;
};

} // namespace simulator
