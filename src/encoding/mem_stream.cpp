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
    if (window_.left() == 0)
        throwEnd();
    return std::min(byteCount, remaining());
}

uint64_t MemStream::read(void *buffer, uint64_t byteCount)
{
    const uint64_t count = clip(byteCount);
    copyBytes(buffer, window_.at, count);
    window_.at += count;
    return count;
}

uint64_t MemStream::write(const void *buffer, uint64_t byteCount)
{
    const uint64_t count = clip(byteCount);
    copyBytes(window_.at, buffer, count);
    window_.at += count;
    return count;
}

} // namespace tavu
