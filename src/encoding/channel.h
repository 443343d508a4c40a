#pragma once

#include "encoding/stream.h"

#include <cstdint>

namespace tavu {

/// A Stream between two programs, whose bytes come as the other one sends them. Reading and writing
/// belong to one thread; close() may come from any.
class Channel : public Stream
{
public:
    /// Blocks until at least one byte is there and returns the count that came; 0 at the end of the
    /// channel.
    virtual uint64_t readSome(void *buffer, uint64_t byteCount) = 0;

    /// Ends a blocked call on another thread, and all later ones. Idempotent.
    virtual void close() = 0;
};

} // namespace tavu
