#include "client/tavuview/live_feed.h"

#include "client/tools/advice.h"
#include "client/tools/json_values.h"
#include "client/tools/text.h"
#include "platform/clock.h"
#include "platform/thread_name.h"

#include <algorithm>
#include <chrono>
#include <exception>

namespace tavu::view {

namespace {

using namespace std::chrono_literals;

/// More frames a second than a screen shows help nobody. The emulated device has no rate of its own
/// and takes the one that it records with.
constexpr uint64_t kShortestGap = 1'000'000'000 / 60;
constexpr uint64_t kEmulatedGap = 1'000'000'000 / 30;
constexpr auto kRetryPause = 1s;

} // namespace

void Watcher::want(const ViewWish &wish)
{
    const std::lock_guard lock(mutex_);
    wish_ = wish;
    wants_ = true;
}

std::optional<ViewWish> Watcher::takeWish()
{
    const std::lock_guard lock(mutex_);
    // A page may wish as often as it likes: what it doesn't take doesn't pile up here.
    if (!wants())
        return std::nullopt;
    wants_ = false;
    return wish_;
}

void Watcher::send(SharedBytes frame)
{
    {
        const std::lock_guard lock(mutex_);
        trouble_.clear();
    }
    sending_ = true;
    if (const auto socket = socket_.lock())
        socket->send(std::move(frame));
}

void Watcher::sendTrouble(const std::string &error, std::string_view advice)
{
    {
        const std::lock_guard lock(mutex_);
        if (trouble_ == error)
            return;
        trouble_ = error;
    }
    const tools::Json json = {{"error", tools::printable(error)}, {"advice", advice}};
    if (const auto socket = socket_.lock())
        socket->send(json.dump(-1, ' ', false, tools::Json::error_handler_t::replace));
}

LiveFeed::LiveFeed(Service &service, uint32_t device, uint8_t port)
    : service_(service), device_(device), port_(port), link_(service.link())
{
    thread_ = std::jthread([this] {
        nameThisThread("view-live");
        run();
    });
}

LiveFeed::~LiveFeed()
{
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    changed_.notify_all();
}

void LiveFeed::add(std::shared_ptr<Watcher> watcher)
{
    const std::lock_guard lock(mutex_);
    watchers_.push_back(std::move(watcher));
}

void LiveFeed::remove(const std::shared_ptr<Watcher> &watcher)
{
    {
        const std::lock_guard lock(mutex_);
        std::erase(watchers_, watcher);
    }
    wake();
}

void LiveFeed::wake()
{
    // Not to be missed between the look at a watcher and the wait.
    {
        const std::lock_guard lock(mutex_);
    }
    changed_.notify_all();
}

LiveFeed::Watchers LiveFeed::watchers()
{
    const std::lock_guard lock(mutex_);
    return watchers_;
}

bool LiveFeed::awaitWish()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] {
        return ended_ || watchers_.empty() ||
               std::any_of(watchers_.begin(), watchers_.end(),
                           [](const auto &watcher) { return watcher->wants(); });
    });
    return !ended_ && !watchers_.empty();
}

void LiveFeed::tell(const std::string &error)
{
    for (const auto &watcher : watchers())
        watcher->sendTrouble(error, tools::adviceFor(error).inViewer);
}

void LiveFeed::run()
{
    while (true) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return ended_ || !watchers_.empty(); });
            if (ended_)
                return;
        }
        try {
            show(link_->get());
            continue;
        } catch (const client::ServiceError &error) {
            tell(error.what());
        } catch (const client::ConnectionError &) {
            // Why stands at the top of the page.
            tell("No picture: the service is away");
            link_->drop();
        } catch (const std::exception &error) {
            tell(error.what());
            link_->drop();
        }
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, kRetryPause, [this] { return ended_; });
    }
}

void LiveFeed::show(client::Connection &service)
{
    const bool emulated = service.hardwareType(device_) == client::kEmulatedDevice;
    const uint64_t gap = emulated ? kEmulatedGap : kShortestGap;
    client::LiveView live(service, device_, port_);
    uint64_t due = monotonicNanoseconds();
    while (awaitWish()) {
        sleepUntilMonotonic(due);
        const client::FrameView frame = live.frame();
        const uint64_t now = monotonicNanoseconds();
        // By a schedule, so that one late frame doesn't make the next ones late.
        due = std::max(due + gap, now > gap ? now - gap : 0);
        FrameMaker maker(frame, number_++, now / 1000);
        for (const auto &watcher : watchers()) {
            if (const auto wish = watcher->takeWish())
                watcher->send(maker.make(*wish));
        }
    }
}

LiveFeed &LiveFeeds::feed(uint32_t device, uint8_t port)
{
    const std::lock_guard lock(mutex_);
    auto &feed = feeds_[{device, port}];
    if (!feed)
        feed = std::make_unique<LiveFeed>(service_, device, port);
    return *feed;
}

} // namespace tavu::view
