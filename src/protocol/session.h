#pragma once

#include "registry/device_manager.h"
#include "service/client_connection.h"

#include <functional>

namespace tavu {

/// What a command works with: the client that asks and the service's devices.
struct Session
{
    ClientConnection &connection;
    DeviceManager &devices;
    /// Tells the connection that owns an event queue that the queue is gone.
    std::function<void(uint32_t queueId)> forgetQueue;
};

} // namespace tavu
