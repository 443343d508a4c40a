#pragma once

#include "support/wire.h"

#include <memory>

namespace tavu::test {

/// The client's end of the service's pipe. Sending doesn't wait until the service reads, so that a
/// test can send whatever it likes before it reads a reply.
class Pipe
{
public:
    Pipe();
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe();

    /// False when nobody listens.
    bool connect();
    void close();
    /// False when the service has closed its end.
    bool send(const Bytes &bytes);
    /// At least one byte and at most \a count; none at the end of the channel.
    Bytes receiveSome(size_t count);

private:
    class Channel;
    std::unique_ptr<Channel> channel_;
};

} // namespace tavu::test
