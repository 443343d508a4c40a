#pragma once

#include "client/playback.h"
#include "client/tavuview/frame_message.h"
#include "client/tavuview/service_link.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace tavu::view {

/// A browser that watches a port. It gets one frame at a time: while one is on its way, others pass
/// by. From any thread.
class Watcher
{
public:
    explicit Watcher(std::weak_ptr<WebSocket> socket) : socket_(std::move(socket)) {}

    /// The browser is ready for a frame, of this kind.
    void want(const ViewWish &wish);
    /// The wish, if a frame is wanted and none is on its way; it then counts as fulfilled.
    std::optional<ViewWish> takeWish();
    bool wants() const { return wants_ && !sending_; }

    void send(SharedBytes frame);
    /// What was sent has left.
    void sent() { sending_ = false; }
    /// Tells why there are no frames; once for each reason.
    void sendTrouble(const std::string &error, std::string_view advice);

private:
    const std::weak_ptr<WebSocket> socket_;
    std::mutex mutex_;
    ViewWish wish_;
    std::atomic<bool> wants_ = false;
    std::atomic<bool> sending_ = false;
    std::string trouble_;
};

/// Live view of one port for any number of browsers, by a thread and a connection of its own. The
/// view is started with the first of them and stopped with the last.
class LiveFeed
{
public:
    LiveFeed(Service &service, uint32_t device, uint8_t port);
    LiveFeed(const LiveFeed &) = delete;
    LiveFeed &operator=(const LiveFeed &) = delete;
    /// The service must have been stopped before, or the port may let us wait.
    ~LiveFeed();

    void add(std::shared_ptr<Watcher> watcher);
    void remove(const std::shared_ptr<Watcher> &watcher);
    /// A watcher wants a frame.
    void wake();

private:
    using Watchers = std::vector<std::shared_ptr<Watcher>>;

    void run();
    void show(client::Connection &service);
    /// Waits until somebody wants a frame; false when nobody watches any more.
    bool awaitWish();
    void tell(const std::string &error);
    Watchers watchers();

    Service &service_;
    const uint32_t device_;
    const uint8_t port_;
    const std::shared_ptr<ServiceLink> link_;
    std::mutex mutex_;
    std::condition_variable changed_;
    Watchers watchers_;
    uint64_t number_ = 0;
    bool ended_ = false;
    std::jthread thread_;
};

/// The feeds of all ports that were ever watched.
class LiveFeeds
{
public:
    explicit LiveFeeds(Service &service) : service_(service) {}

    LiveFeed &feed(uint32_t device, uint8_t port);

private:
    Service &service_;
    std::mutex mutex_;
    std::map<std::pair<uint32_t, uint8_t>, std::unique_ptr<LiveFeed>> feeds_;
};

} // namespace tavu::view
