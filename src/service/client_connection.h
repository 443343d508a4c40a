#pragma once

#include "service/transport/local_socket.h"

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace tavu {

/// The id of no event queue at all.
inline constexpr uint32_t kNoEventQueue = 0xFFFFFFFFu;

/// A playback that a connection has open.
struct OpenFileRef
{
    uint32_t openFileId;
    uint32_t device;
    bool operator==(const OpenFileRef &) const = default;
};

/// A live view that a connection has started.
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

/// One client: the stream on which its requests come and its replies go, and what it holds. All
/// fields belong to the connection's own thread, except for the two that say otherwise. The thread
/// must be joined or detached before the record goes.
struct ClientConnection : LocalSocket
{
    explicit ClientConnection(LocalSocket &&socket) : LocalSocket(std::move(socket)) {}

    std::thread thread;
    /// The server destroys this record, not the thread. Guarded by the server's mutex.
    bool closing = false;
    /// Whoever destroys the queue resets this, on any thread, under the server's mutex.
    std::atomic<uint32_t> eventQueueId{kNoEventQueue};
    std::vector<OpenFileRef> openFiles;
    std::vector<LivePortRef> livePorts;
    bool holdsGlobalLock = false;
};

} // namespace tavu
