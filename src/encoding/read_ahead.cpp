#include "encoding/read_ahead.h"

#include "encoding/bytes.h"

#include <algorithm>
#include <utility>

namespace tavu {

ReadAhead::ReadAhead(Source source, size_t bufferSize)
    : source_(std::move(source)), owned_(new uint8_t[bufferSize]), buffer_(owned_.get(), bufferSize)
{
}

ReadAhead::ReadAhead(Source source, std::span<uint8_t> buffer)
    : source_(std::move(source)), buffer_(buffer)
{
}

uint64_t ReadAhead::read(void *buffer, uint64_t byteCount)
{
    auto *target = static_cast<uint8_t *>(buffer);
    // Every second read of a message is for one byte, the lead of a value.
    if (byteCount == 1 && hasPending()) {
        *target = buffer_[position_++];
        return 1;
    }
    uint64_t done = 0;
    while (done < byteCount && (hasPending() || refill())) {
        const auto count =
            static_cast<size_t>(std::min<uint64_t>(byteCount - done, end_ - position_));
        copyBytes(target + done, &buffer_[position_], count);
        position_ += count;
        done += count;
    }
    return done;
}

int ReadAhead::peek()
{
    return hasPending() || refill() ? buffer_[position_] : -1;
}

bool ReadAhead::refill()
{
    position_ = 0;
    end_ = ended_ ? 0 : static_cast<size_t>(source_(buffer_.data(), buffer_.size()));
    ended_ = end_ == 0;
    return !ended_;
}

} // namespace tavu
