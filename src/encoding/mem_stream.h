#pragma once

#include "encoding/bytes.h"
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
    uint64_t read(void *buffer, uint64_t byteCount) override
    {
        const uint64_t count = clip(byteCount);
        copyBytes(buffer, data_ + position_, count);
        position_ += count;
        return count;
    }
    uint64_t write(const void *buffer, uint64_t byteCount) override
    {
        const uint64_t count = clip(byteCount);
        copyBytes(data_ + position_, buffer, count);
        position_ += count;
        return count;
    }

    /// The stream itself if it is a MemStream, otherwise null.
    static MemStream *from(Stream &stream)
    {
        return typeid(stream) == typeid(MemStream) ? static_cast<MemStream *>(&stream) : nullptr;
    }

    /// Bytes between the position and the end.
    uint64_t remaining() const { return size_ - position_; }

private:
    [[noreturn]] static void raiseEnd();
    uint64_t clip(uint64_t byteCount) const
    {
        if (position_ >= size_)
            raiseEnd();
        return byteCount < remaining() ? byteCount : remaining();
    }

    unsigned char *data_;
    uint64_t size_;
    uint64_t position_ = 0;
};

} // namespace tavu
