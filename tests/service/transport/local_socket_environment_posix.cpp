#include "service/transport/local_socket_environment.h"

#include <cstdlib>
#include <filesystem>

namespace tavu {

SocketEnvironment::SocketEnvironment()
{
    char name[] = "/tmp/tavu-socket-XXXXXX";
    folder_ = ::mkdtemp(name) ? name : "";
    // Longer than an address holds, which must not matter.
    folder_ += "/" + std::string(120, 'd');
    std::filesystem::create_directories(folder_);
    ::setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
}

SocketEnvironment::~SocketEnvironment()
{
    ::unsetenv("XDG_RUNTIME_DIR");
    std::filesystem::remove_all(std::filesystem::path(folder_).parent_path());
}

std::string SocketEnvironment::uniqueName() const
{
    return "tavutest";
}
bool SocketEnvironment::listsSockets() const
{
    return true;
}
bool SocketEnvironment::buffersWrites() const
{
    return true;
}

} // namespace tavu
