#pragma once

#include "registry/device_manager.h"
#include "service/client_connection.h"
#include "service/transport/local_socket.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace tavu {

/// Everything that lives as long as the service: the clients, the devices, the pipe. Accepts
/// clients, gives each a thread, and gives back what a client held however it goes away.
class ConnectionServer
{
public:
    explicit ConnectionServer(DeviceSources devices);
    ConnectionServer(const ConnectionServer &) = delete;
    ConnectionServer &operator=(const ConnectionServer &) = delete;
    ~ConnectionServer();

    /// Whether the service stops when its last client leaves. Set before run().
    void setAutoClose(bool autoClose) { autoClose_ = autoClose; }

    /// The whole life of the server; returns when it has stopped and no thread of it is left.
    void run();

private:
    class ThreadGate;

    void acceptClients();
    void startConnection(LocalSocket &&socket);
    void shutDown();
    void serveConnection(ClientConnection &connection);
    void endConnection(ClientConnection &connection);
    /// Tells the connection that owns this event queue, if any, that it is gone.
    void forgetQueue(uint32_t queueId);

    std::mutex serverMutex_; ///< guards connections_ and is never held across a device call
    std::vector<std::unique_ptr<ClientConnection>> connections_; ///< in order of acceptance
    DeviceManager devices_;
    LocalSocketServer listener_;
    bool autoClose_ = true;
    std::shared_ptr<ThreadGate> gate_;
};

} // namespace tavu
