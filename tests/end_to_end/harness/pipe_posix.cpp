#include "pipe.h"

#include "service/transport/local_socket.h"

namespace tavu::test {

class Pipe::Channel : public LocalSocket
{
};

Pipe::Pipe() : channel_(std::make_unique<Channel>()) {}

Pipe::~Pipe() = default;

bool Pipe::connect()
{
    return channel_->connect("tavusrv");
}

void Pipe::close()
{
    channel_->close();
}

bool Pipe::send(const Bytes &bytes)
{
    return channel_->write(bytes.data(), bytes.size()) == bytes.size();
}

Bytes Pipe::receiveSome(size_t count)
{
    Bytes bytes(count, '\0');
    bytes.resize(channel_->readSome(bytes.data(), count));
    return bytes;
}

} // namespace tavu::test
