#include "client/errors.h"

namespace tavu::client {

ConnectionError ConnectionError::noService(const std::string &address)
{
    return ConnectionError("no service is running at " + address +
                           ": start one with `tavusvc noautoclose`, or with\n"
                           "`TAVUSRV_ENABLE_EMULATOR=1 tavusvc noautoclose` for the emulated "
                           "device");
}

} // namespace tavu::client
