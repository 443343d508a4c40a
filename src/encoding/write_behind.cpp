#include "encoding/write_behind.h"

#include "encoding/bytes.h"

#include <cstring>
#include <new>

namespace tavu {

WriteBehind::WriteBehind(Stream &target) : target_(target)
{
    window_ = {small_.data(), small_.data() + kSmallBytes};
}

uint64_t WriteBehind::write(const void *buffer, uint64_t byteCount)
{
    if (byteCount > window_.left())
        makeRoom();
    if (byteCount > window_.left())
        sendCollected();
    if (byteCount > window_.left()) {
        send(buffer, byteCount);
    } else {
        copyBytes(window_.at, buffer, byteCount);
        window_.at += byteCount;
    }
    return byteCount;
}

bool WriteBehind::flush()
{
    sendCollected();
    large_.reset();
    window_ = {small_.data(), small_.data() + kSmallBytes};
    return accepted_;
}

/// Goes over to the large buffer. Without memory for it the small one does, in more pieces.
void WriteBehind::makeRoom()
{
    if (large_)
        return;
    large_.reset(new (std::nothrow) unsigned char[kPieceBytes]);
    if (!large_)
        return;
    const auto collected = static_cast<size_t>(window_.at - small_.data());
    std::memcpy(large_.get(), small_.data(), collected);
    window_ = {large_.get() + collected, large_.get() + kPieceBytes};
}

void WriteBehind::sendCollected()
{
    unsigned char *begin = large_ ? large_.get() : small_.data();
    send(begin, static_cast<uint64_t>(window_.at - begin));
    window_.at = begin;
}

void WriteBehind::send(const void *buffer, uint64_t byteCount)
{
    if (accepted_ && byteCount > 0)
        accepted_ = target_.write(buffer, byteCount) == byteCount;
}

} // namespace tavu
