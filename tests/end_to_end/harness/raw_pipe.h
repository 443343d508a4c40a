#pragma once

#include "wire.h"

#include <chrono>

namespace tavu::test {

/// No operation of a test waits longer than this.
inline constexpr std::chrono::seconds kLimit{60};

/// The client's end of the service's pipe, byte for byte. A wait that takes too long raises
/// std::runtime_error, so that a service that hangs fails the test.
class RawPipe
{
public:
    RawPipe() = default;
    RawPipe(const RawPipe &) = delete;
    RawPipe &operator=(const RawPipe &) = delete;
    ~RawPipe() { close(); }

    /// False when nobody listens. \a runtimeFolder is where the service has its socket, on systems
    /// where that is a file.
    bool connect(const std::string &runtimeFolder);
    void close();

    /// False when the service has closed its end.
    bool send(const Bytes &bytes);
    /// One piece of at most \a count bytes; empty at the end of the channel.
    Bytes receiveSome(uint64_t count);
    /// True as soon as there is something to receive, or the end.
    bool waitForInput(std::chrono::milliseconds limit);

private:
    static constexpr intptr_t kNoHandle = -1;
    intptr_t handle_ = kNoHandle;
};

} // namespace tavu::test
