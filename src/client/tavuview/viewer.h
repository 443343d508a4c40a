#pragma once

#include "client/tavuview/access.h"
#include "client/tavuview/board.h"
#include "client/tavuview/commands.h"
#include "client/tavuview/device_watch.h"
#include "client/tavuview/live_feed.h"
#include "client/tavuview/recording_jobs.h"
#include "client/tavuview/service_link.h"
#include "client/tavuview/web.h"
#include "client/tavuview/worker_pool.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tavu::view {

/// What stands behind the web server: the page, commands, downloads and the web sockets "/state",
/// "/live" and "/play".
class Viewer final : public WebSite
{
public:
    /// \a showAddress tells a person the address for the next browser, each time one was used.
    Viewer(Access &access, std::function<void(const std::string &)> showAddress);
    ~Viewer() override;

    void handle(const WebRequest &request, Done done) override;
    std::optional<WebReply> refusal(const WebRequest &request) override;
    std::shared_ptr<SocketUser> open(const WebRequest &request,
                                     std::weak_ptr<WebSocket> socket) override;
    void post(std::function<void()> work) override { downloads_.post(std::move(work)); }

private:
    WebReply reply(const WebRequest &request);
    void runCommand(const WebRequest &request, const Done &done);
    WebReply commandReply(const std::string &name, const std::string &body);

    Access &access_;
    const std::function<void(const std::string &)> showAddress_;
    // In the order of their needs: what is below uses what is above.
    Service service_;
    Board board_;
    RecordingJobs jobs_;
    Commands commands_{service_, jobs_};
    LiveFeeds feeds_{service_};
    WorkerPool pool_{"view-command", 4};
    WorkerPool pictures_{"view-picture", 2};
    WorkerPool downloads_{"view-download", 2}; ///< apart, so that playback doesn't stutter
    DeviceWatch watch_{service_, board_, jobs_};
};

} // namespace tavu::view
