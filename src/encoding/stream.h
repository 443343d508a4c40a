#pragma once

#include <cstdint>

namespace tavu {

/// Source and sink of bytes, read or written strictly forward. A stream belongs to one thread.
class Stream
{
public:
    virtual ~Stream() = default;

    /// Reads up to \a byteCount bytes into \a buffer and returns the count delivered; a short count
    /// is the end of the data or a failure.
    virtual uint64_t read(void *buffer, uint64_t byteCount) = 0;

    /// Writes \a byteCount bytes from \a buffer and returns the count accepted.
    virtual uint64_t write(const void *buffer, uint64_t byteCount) = 0;

protected:
    Stream() = default;
    Stream(const Stream &) = default;
    Stream &operator=(const Stream &) = default;
};

} // namespace tavu
