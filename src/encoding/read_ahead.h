#pragma once

#include "encoding/windowed_stream.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace tavu {

/// Reads a source in large pieces and hands its bytes out in small ones, so that many small values
/// cost few system calls. For sources of which nobody else reads.
class ReadAhead final : public WindowedStream
{
public:
    /// Reads at most so many bytes, at least one; 0 is the end, after which it isn't called again.
    using Source = std::function<uint64_t(void *buffer, uint64_t byteCount)>;

    /// With a buffer of its own, whose memory is used only as far as bytes come.
    explicit ReadAhead(Source source, size_t bufferSize = 64 * 1024);
    /// With a buffer of the caller's, which isn't empty and outlives the object.
    ReadAhead(Source source, std::span<uint8_t> buffer);
    ReadAhead(const ReadAhead &) = delete;
    ReadAhead &operator=(const ReadAhead &) = delete;

    /// Delivers all bytes unless the source ends before.
    uint64_t read(void *buffer, uint64_t byteCount) override;
    /// Takes nothing.
    uint64_t write(const void *, uint64_t) override { return 0; }

    /// The next byte, which stays; -1 at the end. Waits for it.
    int peek();
    /// Whether bytes have come that nobody has taken.
    bool hasPending() const { return window_.left() > 0; }
    /// Whether the source's end was met.
    bool ended() const { return ended_; }

private:
    bool refill();

    Source source_;
    std::unique_ptr<uint8_t[]> owned_;
    std::span<uint8_t> buffer_;
    bool ended_ = false;
};

} // namespace tavu
