#include "client/errors.h"

namespace tavu::client {

ConnectionError ConnectionError::noService(const std::string &address)
{
    return ConnectionError("no service is running at " + address +
                           ": start one with `tavusvc noautoclose`, for the\n"
                           "emulated device with TAVUSRV_ENABLE_EMULATOR=1 in its environment");
}

ConnectionError ConnectionError::strangersService(const std::string &address, uint32_t user)
{
    return ConnectionError("the service at " + address + " runs as another user (id " +
                           std::to_string(user) +
                           "), and anybody could have put it there: nothing was\n"
                           "sent to it. Set XDG_RUNTIME_DIR to a folder of your own, for your "
                           "service and for its clients");
}

ProtocolError ProtocolError::unexpectedReply(const std::string &command, const std::string &fault)
{
    return ProtocolError("unexpected reply to " + command + ": " + fault);
}

} // namespace tavu::client
