#pragma once

#include <string>

namespace tavu {

/// Where a test's sockets live: names that no other test and no service uses.
class SocketEnvironment
{
public:
    SocketEnvironment();
    ~SocketEnvironment();

    std::string uniqueName() const;
    /// Whether the system can list its sockets.
    bool listsSockets() const;
    /// Whether a write may return before its bytes are read.
    bool buffersWrites() const;

private:
    std::string folder_;
};

} // namespace tavu
