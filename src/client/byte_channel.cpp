#include "client/byte_channel.h"

#include "client/errors.h"

namespace tavu::client {

SocketChannel::SocketChannel(const std::string &name)
{
    if (!socket_.connect(name))
        throw ConnectionError::noService(localSocketAddress(name));
    if (const auto user = socket_.stranger())
        throw ConnectionError::strangersService(localSocketAddress(name), *user);
}

uint64_t SocketChannel::readSome(void *buffer, uint64_t byteCount)
{
    return socket_.readSome(buffer, byteCount);
}

uint64_t SocketChannel::write(const void *buffer, uint64_t byteCount)
{
    return socket_.write(buffer, byteCount);
}

void SocketChannel::close()
{
    socket_.close();
}

} // namespace tavu::client
