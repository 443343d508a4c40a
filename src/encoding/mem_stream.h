#pragma once

#include "encoding/stream.h"

#include <typeinfo>

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

    /// Raises what read() and write() raise at the end.
    [[noreturn]] static void throwEnd();

    /// The stream itself if it is a MemStream, otherwise null.
    static MemStream *from(Stream &stream)
    {
        return typeid(stream) == typeid(MemStream) ? static_cast<MemStream *>(&stream) : nullptr;
    }

    /// Bytes between the position and the end.
    uint64_t remaining() const { return size_ - position_; }

    // For reading or writing in place. Only while a byte is left behind what is taken: at the very
    // end read() and write() decide whether to raise.
    unsigned char *position() { return data_ + position_; }
    void advance(uint64_t byteCount) { position_ += byteCount; }

private:
    uint64_t clip(uint64_t byteCount) const;

    unsigned char *data_;
    uint64_t size_;
    uint64_t position_ = 0;
};

} // namespace tavu
