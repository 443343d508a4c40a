#include "service/connection_server.h"
#include "platform/diagnostics.h"
#include "platform/thread_name.h"
#include "protocol/request_loop.h"
#include "service/transport/shared_region.h"
#include "wire/names.h"

#include <condition_variable>
#include <thread>

namespace tavu {

/// Counts the connection threads, so that run() can outlast those that detached themselves. Shared
/// with the threads, whose last act is to leave it.
class ConnectionServer::ThreadGate
{
public:
    void enter()
    {
        std::lock_guard guard(mutex_);
        ++inside_;
    }
    void leave()
    {
        std::lock_guard guard(mutex_);
        --inside_;
        left_.notify_all();
    }
    void waitUntilEmpty()
    {
        std::unique_lock lock(mutex_);
        left_.wait(lock, [this] { return inside_ == 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable left_;
    size_t inside_ = 0;
};

ConnectionServer::ConnectionServer(DeviceSources devices)
    : devices_(std::move(devices)), gate_(std::make_shared<ThreadGate>())
{
}

ConnectionServer::~ConnectionServer() = default;

void ConnectionServer::run()
{
    // A pipe name that is taken means that another instance serves this machine.
    if (!listener_.listen(kPipeName, false))
        return;
    removeStaleRegions(kRegionBaseName);
    try {
        devices_.start();
    } catch (...) {
        const char *text = devices_.failureText();
        if (!text)
            throw;
        printLine(stdout, "caught exception: %s\n", text);
        return;
    }
    try {
        acceptClients();
    } catch (...) {
        // Whatever ends the accept loop ends the service.
    }
    shutDown();
}

void ConnectionServer::acceptClients()
{
    for (;;)
        startConnection(listener_.accept());
}

void ConnectionServer::startConnection(LocalSocket &&socket)
{
    auto connection = std::make_unique<ClientConnection>(std::move(socket));
    std::lock_guard guard(serverMutex_);
    makeRoom(connections_);
    gate_->enter();
    try {
        // The thread can't get to its own removal before the record is in the list: that takes the
        // mutex that we hold.
        connection->thread = std::thread([this, gate = gate_, served = connection.get()] {
            nameThisThread("tavu-client");
            serveConnection(*served);
            gate->leave();
        });
    } catch (...) {
        gate_->leave();
        throw;
    }
    connections_.push_back(std::move(connection));
}

void ConnectionServer::shutDown()
{
    listener_.abort();
    {
        std::lock_guard guard(serverMutex_);
        for (const auto &connection : connections_) {
            connection->closing = true;
            connection->socket.close();
        }
    }
    // From here on nobody else changes the list: new clients aren't accepted, and a thread that
    // finds its record closing leaves it to us. A thread that hasn't come to its end may still walk
    // the list, so no record goes before the last of them has.
    for (const auto &connection : connections_) {
        if (connection->thread.joinable())
            connection->thread.join();
    }
    gate_->waitUntilEmpty();
    connections_.clear();
    devices_.stop();
}

void ConnectionServer::serveConnection(ClientConnection &connection)
{
    Session session{connection.state, devices_, [this](uint32_t queueId) { forgetQueue(queueId); }};
    try {
        runRequestLoop(session);
    } catch (...) {
        // It always ends so, and a client's end is nobody else's concern.
    }
    connection.socket.close();
    connection.state.giveBack(devices_);
    endConnection(connection);
}

/// The last thing that a connection's thread does; the record is gone afterwards unless the server
/// is shutting down.
void ConnectionServer::endConnection(ClientConnection &connection)
{
    std::lock_guard guard(serverMutex_);
    if (connection.closing)
        return;
    connection.thread.detach();
    std::erase_if(connections_,
                  [&connection](const auto &other) { return other.get() == &connection; });
    if (autoClose_ && connections_.empty())
        listener_.abort();
}

void ConnectionServer::forgetQueue(uint32_t queueId)
{
    std::lock_guard guard(serverMutex_);
    for (const auto &connection : connections_) {
        if (connection->state.eventQueueId == queueId) {
            connection->state.eventQueueId = kNoEventQueue;
            return;
        }
    }
}

} // namespace tavu
