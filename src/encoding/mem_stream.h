#pragma once

#include "encoding/windowed_stream.h"

#include <cstdint>

namespace tavu {

/// A Stream over memory of the caller's, which must outlive it. Never grows: bytes that don't fit
/// are cut off.
class MemStream final : public WindowedStream
{
public:
    MemStream(void *data, uint64_t size)
    {
        window_.at = static_cast<unsigned char *>(data);
        window_.end = window_.at + size;
    }

    /// Both raise std::runtime_error "eof" when the position is at the end, also for 0 bytes, and
    /// otherwise move as much as there is room for.
    uint64_t read(void *buffer, uint64_t byteCount) override;
    uint64_t write(const void *buffer, uint64_t byteCount) override;

    /// Raises what read() and write() raise at the end.
    [[noreturn]] static void throwEnd();

    /// Bytes between the position and the end.
    uint64_t remaining() const { return window_.left(); }

private:
    uint64_t clip(uint64_t byteCount) const;
};

} // namespace tavu
