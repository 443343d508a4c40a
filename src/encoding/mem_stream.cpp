#include "encoding/mem_stream.h"

#include "encoding/bytes.h"

#include <algorithm>
#include <stdexcept>

namespace tavu {

void MemStream::throwEnd()
{
    throw std::runtime_error("eof");
}

uint64_t MemStream::clip(uint64_t byteCount) const
{
    if (position_ >= size_)
        throwEnd();
    return std::min(byteCount, remaining());
}

uint64_t MemStream::read(void *buffer, uint64_t byteCount)
{
    const uint64_t count = clip(byteCount);
    copyBytes(buffer, data_ + position_, count);
    position_ += count;
    return count;
}

uint64_t MemStream::write(const void *buffer, uint64_t byteCount)
{
    const uint64_t count = clip(byteCount);
    copyBytes(data_ + position_, buffer, count);
    position_ += count;
    return count;
}

} // namespace tavu
