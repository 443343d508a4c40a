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
    uint64_t done = 0;
    while (done < byteCount) {
        const uint64_t due = byteCount - done;
        if (!hasPending() && due >= buffer_.size()) {
            // Nothing would be gained by a copy on the way.
            const uint64_t count = ended_ ? 0 : source_(target + done, due);
            ended_ = count == 0;
            if (ended_)
                break;
            done += count;
        } else {
            if (!hasPending() && !refill())
                break;
            const uint64_t count = std::min(due, window_.left());
            copyBytes(target + done, window_.at, count);
            window_.at += count;
            done += count;
        }
    }
    return done;
}

int ReadAhead::peek()
{
    return hasPending() || refill() ? *window_.at : -1;
}

bool ReadAhead::refill()
{
    const uint64_t count = ended_ ? 0 : source_(buffer_.data(), buffer_.size());
    window_ = {buffer_.data(), buffer_.data() + count};
    ended_ = count == 0;
    return !ended_;
}

} // namespace tavu
