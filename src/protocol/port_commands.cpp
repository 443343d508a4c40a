#include "protocol/commands.h"
#include "protocol/parameters.h"
#include "protocol/simple_commands.h"

namespace tavu::commands {

namespace {

/// What pairing and pairing anew take.
struct Pairing
{
    explicit Pairing(const Parameters &params)
        : device(params.deviceId()), port(params.port()), identity(params.text("identity")),
          info(params.blob("info")), numFramesPerPacket(params.u16("numFramesPerPacket"))
    {
    }
    // In the order in which they are read.
    uint32_t device;
    uint8_t port;
    std::string identity;
    BytesView info;
    uint16_t numFramesPerPacket;
};

} // namespace

Reply setup(Session &session, const ObjectValue &request)
{
    return onDevice(session, request, &DeviceManager::setup);
}

Reply pairPort(Session &session, const ObjectValue &request)
{
    const Pairing pairing{Parameters(request)};
    session.devices.pairPort(pairing.device, pairing.port, pairing.identity, pairing.info.bytes,
                             pairing.info.size, pairing.numFramesPerPacket);
    return Reply();
}

Reply pairedTo(Session &session, const ObjectValue &request)
{
    return askPort(session, request, "pairedTo", &DeviceManager::pairedTo);
}

Reply repairPort(Session &session, const ObjectValue &request)
{
    const Pairing pairing{Parameters(request)};
    session.devices.repairPort(pairing.device, pairing.port, pairing.identity, pairing.info.bytes,
                               pairing.info.size, pairing.numFramesPerPacket);
    return Reply();
}

Reply unpairPort(Session &session, const ObjectValue &request)
{
    return onPort(session, request, &DeviceManager::unpairPort);
}

Reply portIdentity(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    ByteBlock data;
    session.devices.portIdentity(device, port, data);
    return Reply().add("data", std::move(data));
}

Reply framesPerPacket(Session &session, const ObjectValue &request)
{
    return askPort(session, request, "numFramesPerPacket", &DeviceManager::framesPerPacket);
}

Reply getPortConfig(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    uint16_t width = 0;
    uint16_t height = 0;
    uint32_t pixelFormat = 0;
    uint32_t tapGeometry = 0;
    session.devices.getPortConfig(device, port, width, height, pixelFormat, tapGeometry);
    return Reply()
        .add("width", width)
        .add("height", height)
        .add("pixelFormat", pixelFormat)
        .add("tapGeometry", tapGeometry);
}

Reply setPortConfig(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    const uint16_t width = params.u16("width");
    const uint16_t height = params.u16("height");
    const uint32_t pixelFormat = params.u32("pixelFormat");
    const uint32_t tapGeometry = params.u32("tapGeometry");
    session.devices.setPortConfig(device, port, width, height, pixelFormat, tapGeometry);
    return Reply();
}

} // namespace tavu::commands
