#include "service/connection_server.h"
#include "platform/diagnostics.h"
#include "protocol/request_loop.h"
#include "registry/failure_text.h"
#include "service/transport/shared_region.h"

#include <algorithm>
#include <condition_variable>
#include <thread>

namespace tavu {

namespace {

constexpr const char *kPipeName = "tavusrv";
constexpr const char *kRegionBaseName = "orek_tavu";

/// Giving back one thing must not keep the others from being given back.
template <typename Release>
void swallowFailure(Release release)
{
    try {
        release();
    } catch (...) {
    }
}

} // namespace

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

ConnectionServer::ConnectionServer() : gate_(std::make_shared<ThreadGate>()) {}

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
        const char *text = currentFailureText();
        if (!text)
            throw;
        printLine(stdout, "caught exception: %s\n", text);
        return;
    }
    // Whatever ends the accept loop ends the service.
    swallowFailure([this] { acceptClients(); });
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
            serveConnection(*served);
            gate->leave();
        });
    } catch (...) {
        gate_->leave();
        throw;
    }
    connections_.push_back(connection.release());
}

void ConnectionServer::shutDown()
{
    listener_.abort();
    {
        std::lock_guard guard(serverMutex_);
        for (ClientConnection *connection : connections_) {
            connection->closing = true;
            connection->close();
        }
    }
    // From here on nobody else changes the list: new clients aren't accepted, and a thread that
    // finds its record closing leaves it to us. A thread that hasn't come to its end may still walk
    // the list, so no record goes before the last of them has.
    for (ClientConnection *connection : connections_) {
        if (connection->thread.joinable())
            connection->thread.join();
    }
    gate_->waitUntilEmpty();
    for (ClientConnection *connection : connections_)
        delete connection;
    connections_.clear();
    devices_.stop();
}

void ConnectionServer::serveConnection(ClientConnection &connection)
{
    // The request loop ends by an exception, and a client's end is nobody else's concern.
    Session session{connection, devices_, [this](uint32_t queueId) { forgetQueue(queueId); }};
    swallowFailure([&] { runRequestLoop(session); });
    connection.close();
    releaseResources(connection);
    endConnection(connection);
}

void ConnectionServer::releaseResources(ClientConnection &connection)
{
    for (const LivePortRef &live : connection.livePorts)
        swallowFailure([&] { devices_.stopLive(live.device, live.port); });
    connection.livePorts.clear();
    for (const OpenFileRef &file : connection.openFiles)
        swallowFailure([&] { devices_.closeFile(file.device, file.openFileId); });
    connection.openFiles.clear();
    const uint32_t queueId = connection.eventQueueId.load();
    if (queueId != kNoEventQueue)
        swallowFailure([&] { devices_.destroyQueue(queueId, true); });
    connection.eventQueueId = kNoEventQueue;
    if (connection.holdsGlobalLock)
        swallowFailure([&] { devices_.unlockGlobal(); });
    connection.holdsGlobalLock = false;
}

/// The last thing that a connection's thread does; the record is gone afterwards unless the server
/// is shutting down.
void ConnectionServer::endConnection(ClientConnection &connection)
{
    std::lock_guard guard(serverMutex_);
    if (connection.closing)
        return;
    const auto place = std::find(connections_.begin(), connections_.end(), &connection);
    if (place != connections_.end()) {
        connections_.erase(place);
        connection.thread.detach();
        delete &connection;
    }
    if (autoClose_ && connections_.empty())
        listener_.abort();
}

void ConnectionServer::forgetQueue(uint32_t queueId)
{
    std::lock_guard guard(serverMutex_);
    for (ClientConnection *connection : connections_) {
        if (connection->eventQueueId == queueId) {
            connection->eventQueueId = kNoEventQueue;
            return;
        }
    }
}

} // namespace tavu
