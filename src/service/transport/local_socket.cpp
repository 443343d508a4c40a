#include "service/transport/local_socket.h"

#include <algorithm>

namespace tavu {

/// Keeps the native handle from being released while a call is inside the system with it.
class LocalSocket::Use
{
public:
    explicit Use(LocalSocket &socket) : socket_(socket)
    {
        socket_.enter();
        if (!(socket_.uses_.load() & kClosed))
            handle_ = socket_.handle_.load();
    }
    Use(const Use &) = delete;
    Use &operator=(const Use &) = delete;
    ~Use() { socket_.leave(); }

    explicit operator bool() const { return handle_ != kNoHandle; }
    NativeHandle handle() const { return handle_; }

private:
    LocalSocket &socket_;
    NativeHandle handle_ = kNoHandle;
};

namespace {

/// Moves all bytes with calls of \a transfer, each with at most what the system takes at once.
template <typename Byte, typename Transfer>
uint64_t transferAll(Byte *bytes, uint64_t byteCount, Transfer transfer)
{
    uint64_t done = 0;
    while (done < byteCount) {
        const auto chunk = std::min<uint64_t>(byteCount - done, 0xFFFFFFFFu);
        const int64_t moved = transfer(bytes + done, static_cast<uint32_t>(chunk));
        if (moved <= 0)
            break;
        done += static_cast<uint64_t>(moved);
    }
    return done;
}

} // namespace

LocalSocket::LocalSocket(LocalSocket &&other) noexcept : handle_(other.handle_.exchange(kNoHandle))
{
}

LocalSocket &LocalSocket::operator=(LocalSocket &&other) noexcept
{
    if (this != &other) {
        LocalSocket::close();
        handle_ = other.handle_.exchange(kNoHandle);
        uses_ = 0;
    }
    return *this;
}

LocalSocket::~LocalSocket()
{
    LocalSocket::close();
}

uint64_t LocalSocket::read(void *buffer, uint64_t byteCount)
{
    if (byteCount == 0)
        return 0;
    Use use(*this);
    if (!use)
        return 0;
    return transferAll(static_cast<unsigned char *>(buffer), byteCount,
                       [&](unsigned char *bytes, uint32_t count) {
                           return systemRead(use.handle(), bytes, count);
                       });
}

uint64_t LocalSocket::write(const void *buffer, uint64_t byteCount)
{
    if (byteCount == 0)
        return 0;
    Use use(*this);
    if (!use)
        return 0;
    return transferAll(static_cast<const unsigned char *>(buffer), byteCount,
                       [&](const unsigned char *bytes, uint32_t count) {
                           return systemWrite(use.handle(), bytes, count);
                       });
}

uint64_t LocalSocket::readSome(void *buffer, uint64_t byteCount)
{
    if (byteCount == 0)
        return 0;
    Use use(*this);
    if (!use)
        return 0;
    const auto chunk = static_cast<uint32_t>(std::min<uint64_t>(byteCount, 0xFFFFFFFFu));
    return static_cast<uint64_t>(std::max<int64_t>(systemRead(use.handle(), buffer, chunk), 0));
}

void LocalSocket::close()
{
    // Counting as a use ourselves keeps the handle valid while we interrupt the others.
    enter();
    if (!(uses_.fetch_or(kClosed) & kClosed)) {
        const NativeHandle handle = handle_.load();
        if (handle != kNoHandle && othersInside())
            systemInterrupt(handle);
    }
    leave();
}

void LocalSocket::leave()
{
    if (uses_.fetch_sub(1) != (kClosed | 1))
        return;
    // The last one out of a closed socket; who comes later finds no handle.
    const NativeHandle handle = handle_.exchange(kNoHandle);
    if (handle != kNoHandle)
        systemRelease(handle);
}

bool LocalSocket::connect(const std::string &name)
{
    *this = LocalSocket(systemConnect(name));
    return handle_.load() != kNoHandle;
}

std::optional<uint32_t> LocalSocket::stranger()
{
    Use use(*this);
    return use ? systemStranger(use.handle()) : std::nullopt;
}

} // namespace tavu
