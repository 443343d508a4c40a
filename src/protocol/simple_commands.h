#pragma once

#include "protocol/parameters.h"
#include "protocol/reply.h"
#include "protocol/session.h"

#include <cstdint>

namespace tavu::commands {

// The commands that pass a device index, or a device index and a port, on to one operation of the
// device manager and answer with nothing or with what it returns.

inline Reply onDevice(Session &session, const ObjectValue &request,
                      void (DeviceManager::*operation)(uint32_t))
{
    (session.devices.*operation)(Parameters(request).deviceId());
    return Reply();
}

template <typename Value>
Reply askDevice(Session &session, const ObjectValue &request, const char *key,
                Value (DeviceManager::*operation)(uint32_t))
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add(key, (session.devices.*operation)(device));
}

inline Reply onPort(Session &session, const ObjectValue &request,
                    void (DeviceManager::*operation)(uint32_t, uint8_t))
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    (session.devices.*operation)(device, port);
    return Reply();
}

template <typename Value>
Reply askPort(Session &session, const ObjectValue &request, const char *key,
              Value (DeviceManager::*operation)(uint32_t, uint8_t))
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    return Reply().add(key, (session.devices.*operation)(device, port));
}

} // namespace tavu::commands
