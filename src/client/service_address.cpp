#include "client/service_address.h"

#include "service/local_socket.h"

namespace tavu::client {

std::string serviceAddress(const std::string &name)
{
    return localSocketAddress(name);
}

} // namespace tavu::client
