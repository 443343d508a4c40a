#pragma once

#include "client/byte_channel.h"
#include "encoding/stream.h"

#include <cstdint>
#include <vector>

namespace tavu::client {

/// The reading side of a ByteChannel with a read-ahead, so that a reply of many small values costs
/// few system calls. That is safe because a service never sends more than the reply it was asked
/// for.
class ReplyStream final : public Stream
{
public:
    explicit ReplyStream(ByteChannel &channel);

    /// Delivers all bytes unless the channel ends before.
    uint64_t read(void *buffer, uint64_t byteCount) override;
    /// Takes nothing: requests go to the channel directly.
    uint64_t write(const void *buffer, uint64_t byteCount) override;

    /// The next byte without taking it; -1 at the end.
    int peek();

    /// True when bytes have come that nobody has taken.
    bool hasPending() const { return position_ < filled_; }
    /// True once a read met the end of the channel.
    bool ended() const { return ended_; }

private:
    bool fill();

    ByteChannel &channel_;
    std::vector<uint8_t> buffer_;
    size_t position_ = 0;
    size_t filled_ = 0;
    bool ended_ = false;
};

} // namespace tavu::client
