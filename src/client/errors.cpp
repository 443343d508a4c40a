#include "client/errors.h"

namespace tavu::client {

ConnectionError ConnectionError::noService(const std::string &address)
{
    return ConnectionError("no service is running at " + address +
                           ": start one with `tavusvc noautoclose`, for the\n"
                           "emulated device with TAVUSRV_ENABLE_EMULATOR=1 in its environment");
}

} // namespace tavu::client
