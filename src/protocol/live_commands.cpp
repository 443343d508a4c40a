#include "protocol/commands.h"
#include "protocol/parameters.h"

#include <algorithm>
#include <stdexcept>

namespace tavu::commands {

namespace {

LivePortRef readLivePortRef(const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    return {port, device};
}

} // namespace

Reply startLive(Session &session, const ObjectValue &request)
{
    const LivePortRef live = readLivePortRef(request);
    auto &livePorts = session.connection.livePorts;
    makeRoom(livePorts);
    std::string mapping = session.devices.startLive(live.device, live.port);
    livePorts.push_back(live);
    return Reply().add("mapping", std::move(mapping));
}

/// What a connection started, it alone may stop.
Reply stopLive(Session &session, const ObjectValue &request)
{
    const LivePortRef live = readLivePortRef(request);
    auto &livePorts = session.connection.livePorts;
    if (std::find(livePorts.begin(), livePorts.end(), live) == livePorts.end())
        throw std::runtime_error("Live not started by this connection.");
    session.devices.stopLive(live.device, live.port);
    std::erase(livePorts, live);
    return Reply();
}

/// Any connection may take a frame of a port in live view.
Reply liveFrame(Session &session, const ObjectValue &request)
{
    const LivePortRef live = readLivePortRef(request);
    uint16_t width = 0;
    uint16_t height = 0;
    uint32_t imageSize = 0;
    session.devices.liveFrame(live.device, live.port, width, height, imageSize);
    return Reply().add("width", width).add("height", height).add("imageSize", imageSize);
}

} // namespace tavu::commands
