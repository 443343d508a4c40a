#include "client/service_address.h"

#include "platform/environment.h"

namespace tavu::client {

std::string serviceAddress(const std::string &name)
{
    const bool own = environmentFlag("XDG_RUNTIME_DIR");
    return (own ? *environmentVariable("XDG_RUNTIME_DIR") : std::string("/tmp")) + "/" + name;
}

} // namespace tavu::client
