#pragma once

#include "encoding/stream.h"

namespace tavu {

/// A Stream over memory of the caller's, which must outlive it. Never grows: bytes that don't fit
/// are cut off.
class MemStream final : public Stream
{
public:
    MemStream(void *data, uint64_t size) : data_(static_cast<unsigned char *>(data)), size_(size) {}

    /// Both raise std::runtime_error "eof" when the position is at the end, also for 0 bytes, and
    /// otherwise move as much as there is room for.
    uint64_t read(void *buffer, uint64_t byteCount) override;
    uint64_t write(const void *buffer, uint64_t byteCount) override;

private:
    /// Moves the position and returns by how much.
    uint64_t advance(uint64_t byteCount);

    unsigned char *data_;
    uint64_t size_;
    uint64_t position_ = 0;
};

} // namespace tavu
