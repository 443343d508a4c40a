#include "protocol/handlers.h"

#include <algorithm>
#include <stdexcept>

namespace tavu {

namespace {

Reply startLive(const Call<Command::StartLive> &call)
{
    const auto &[device, port] = call.params();
    auto &livePorts = call.client().livePorts;
    makeRoom(livePorts);
    Reply reply = passOn(call, &ITavuDevice::startLive);
    livePorts.push_back({port, device});
    return reply;
}

/// What a connection started, it alone may stop.
Reply stopLive(const Call<Command::StopLive> &call)
{
    const auto &[device, port] = call.params();
    const LivePortRef live{port, device};
    auto &livePorts = call.client().livePorts;
    if (std::find(livePorts.begin(), livePorts.end(), live) == livePorts.end())
        throw std::runtime_error("Live not started by this connection.");
    Reply reply = passOn(call, &ITavuDevice::stopLive);
    std::erase(livePorts, live);
    return reply;
}

constexpr Handler kHandlers[] = {
    handle<startLive>(),
    handle<stopLive>(),
    // Any connection may take a frame of a port in live view.
    pass<Command::LiveFrame, &ITavuDevice::liveFrame>(),
};

} // namespace

std::span<const Handler> liveCommands()
{
    return kHandlers;
}

} // namespace tavu
