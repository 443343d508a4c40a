#include "client/reply_stream.h"

#include <algorithm>
#include <cstring>

namespace tavu::client {

namespace {

constexpr size_t kReadAhead = 64 * 1024;

} // namespace

ReplyStream::ReplyStream(ByteChannel &channel) : channel_(channel), buffer_(kReadAhead) {}

uint64_t ReplyStream::read(void *buffer, uint64_t byteCount)
{
    auto *target = static_cast<uint8_t *>(buffer);
    uint64_t done = 0;
    while (done < byteCount && (hasPending() || fill())) {
        const uint64_t count = std::min<uint64_t>(byteCount - done, filled_ - position_);
        std::memcpy(target + done, buffer_.data() + position_, static_cast<size_t>(count));
        position_ += static_cast<size_t>(count);
        done += count;
    }
    return done;
}

uint64_t ReplyStream::write(const void *, uint64_t)
{
    return 0;
}

int ReplyStream::peek()
{
    return hasPending() || fill() ? buffer_[position_] : -1;
}

bool ReplyStream::fill()
{
    position_ = 0;
    filled_ = ended_ ? 0 : static_cast<size_t>(channel_.readSome(buffer_.data(), buffer_.size()));
    ended_ = filled_ == 0;
    return !ended_;
}

} // namespace tavu::client
