#include "encoding/mem_stream.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace tavu {

uint64_t MemStream::advance(uint64_t byteCount)
{
    if (position_ >= size_)
        throw std::runtime_error("eof");
    const uint64_t moved = std::min(byteCount, size_ - position_);
    position_ += moved;
    return moved;
}

uint64_t MemStream::read(void *buffer, uint64_t byteCount)
{
    const unsigned char *source = data_ + position_;
    const uint64_t moved = advance(byteCount);
    if (moved > 0)
        std::memcpy(buffer, source, static_cast<size_t>(moved));
    return moved;
}

uint64_t MemStream::write(const void *buffer, uint64_t byteCount)
{
    unsigned char *target = data_ + position_;
    const uint64_t moved = advance(byteCount);
    if (moved > 0)
        std::memcpy(target, buffer, static_cast<size_t>(moved));
    return moved;
}

} // namespace tavu
