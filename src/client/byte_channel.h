#pragma once

#include "service/transport/local_socket.h"

#include <cstdint>

namespace tavu::client {

/// The bytes between a client and a service, in both directions. read and write belong to one
/// thread; close may come from any.
class ByteChannel
{
public:
    virtual ~ByteChannel() = default;

    /// Blocks until at least one byte is there and returns the count; 0 at the end.
    virtual uint64_t readSome(void *buffer, uint64_t byteCount) = 0;

    /// Blocks until all bytes are gone; returns the count, short when the channel failed.
    virtual uint64_t write(const void *buffer, uint64_t byteCount) = 0;

    /// Ends a blocked call on another thread, and all later ones.
    virtual void close() = 0;

protected:
    ByteChannel() = default;
    ByteChannel(const ByteChannel &) = delete;
    ByteChannel &operator=(const ByteChannel &) = delete;
};

/// The local pipe as a ByteChannel.
class SocketChannel final : public ByteChannel
{
public:
    /// Connects to the service that listens under a base name. Raises ConnectionError when nobody
    /// does, and when it is another user's at an address that anybody could have taken: that one
    /// gets no byte.
    explicit SocketChannel(const std::string &name);
    /// Adopts a connected socket.
    explicit SocketChannel(LocalSocket socket) : socket_(std::move(socket)) {}

    uint64_t readSome(void *buffer, uint64_t byteCount) override;
    uint64_t write(const void *buffer, uint64_t byteCount) override;
    void close() override;

private:
    LocalSocket socket_;
};

} // namespace tavu::client
