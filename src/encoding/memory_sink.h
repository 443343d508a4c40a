#pragma once

#include "encoding/stream.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace tavu {

/// Keeps what is written to it, and grows as it comes. There is nothing to read from it.
class MemorySink final : public Stream
{
public:
    MemorySink() { bytes_.reserve(256); }

    uint64_t read(void *, uint64_t) override { return 0; }
    uint64_t write(const void *buffer, uint64_t byteCount) override
    {
        const auto *bytes = static_cast<const uint8_t *>(buffer);
        bytes_.insert(bytes_.end(), bytes, bytes + byteCount);
        return byteCount;
    }

    const std::vector<uint8_t> &bytes() const { return bytes_; }
    /// Hands the bytes over; the sink is empty then.
    std::vector<uint8_t> take() { return std::exchange(bytes_, {}); }
    /// Forgets the bytes but keeps their memory for the next ones.
    void clear() { bytes_.clear(); }

private:
    std::vector<uint8_t> bytes_;
};

} // namespace tavu
