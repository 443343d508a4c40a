#pragma once

#include "encoding/stream.h"

#include <cstdint>

namespace tavu {

/// Bytes that lie in memory, from \a at on up to \a end, for whoever takes or puts them there
/// without a call of the stream. Empty when there are none.
struct Window
{
    unsigned char *at = nullptr;
    unsigned char *end = nullptr;

    uint64_t left() const { return static_cast<uint64_t>(end - at); }
};

/// A Stream whose next bytes, those to be read or those to be written, lie in memory.
class WindowedStream : public Stream
{
public:
    /// Whoever works in it moves \a at on, but only while a byte is left behind what is taken: at
    /// the very end read() and write() decide how to go on. They move the window themselves.
    Window &window() { return window_; }

    /// The window of any stream; null for one that has none.
    static Window *of(Stream &stream)
    {
        auto *windowed = dynamic_cast<WindowedStream *>(&stream);
        return windowed ? &windowed->window_ : nullptr;
    }

protected:
    Window window_;
};

} // namespace tavu
