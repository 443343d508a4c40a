#pragma once

#include "encoding/channel.h"
#include "registry/device_manager.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <vector>

namespace tavu {

/// The id of no event queue at all.
inline constexpr uint32_t kNoEventQueue = 0xFFFFFFFFu;

/// A playback that a client has open.
struct OpenFileRef
{
    uint32_t openFileId;
    uint32_t device;
    bool operator==(const OpenFileRef &) const = default;
};

/// A live view that a client has started.
struct LivePortRef
{
    uint8_t port;
    uint32_t device;
    bool operator==(const LivePortRef &) const = default;
};

/// Makes sure that one more element can be appended without a failure.
template <typename Element>
void makeRoom(std::vector<Element> &list)
{
    if (list.size() == list.capacity())
        list.reserve(list.empty() ? 8 : 2 * list.size());
}

/// What commands need of their client: the channel on which its requests come and its replies go,
/// and what it holds. It belongs to the client's own thread, except for eventQueueId.
struct ClientState
{
    explicit ClientState(Channel &clientChannel) : channel(clientChannel) {}

    /// Gives back what the client holds: live views, files, queue and lock, in this order. What
    /// fails is left, and the rest given back all the same.
    void giveBack(DeviceManager &devices);

    Channel &channel;
    /// Whoever destroys the queue resets this, on any thread, by Session::forgetQueue.
    std::atomic<uint32_t> eventQueueId{kNoEventQueue};
    std::vector<OpenFileRef> openFiles;
    std::vector<LivePortRef> livePorts;
    bool holdsGlobalLock = false;
};

/// What a command works with: the client that asks and the service's devices.
struct Session
{
    ClientState &client;
    DeviceManager &devices;
    /// Tells the client that owns an event queue that the queue is gone.
    std::function<void(uint32_t queueId)> forgetQueue;
};

} // namespace tavu
