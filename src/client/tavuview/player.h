#pragma once

#include "client/playback.h"
#include "client/tavuview/frame_message.h"
#include "client/tavuview/service_link.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace tavu::view {

/// A recording as it is named in an address.
struct RecordingName
{
    uint32_t device = 0;
    uint32_t fileId = 0;
    uint32_t streamId = 0;
};

/// Raises BadRequest.
RecordingName recordingNameOf(const WebRequest &request);

/// A recording that is open, on a connection of its own. Used by one thread at a time.
class OpenRecording
{
public:
    OpenRecording(Service &service, const RecordingName &name) : name_(name), link_(service.link())
    {
    }

    /// Opens it, if that wasn't done or the service was away. Raises what Playback raises.
    client::Playback &get();
    void drop();

private:
    const RecordingName name_;
    std::shared_ptr<ServiceLink> link_;
    std::optional<client::Playback> playback_;
};

/// A browser that plays a recording. It asks for a frame, and gets it, one at a time: the browser
/// keeps the time, and leaves out what comes too late.
class Player
{
public:
    Player(Service &service, const RecordingName &name, std::weak_ptr<WebSocket> socket)
        : recording_(service, name), socket_(std::move(socket))
    {
    }

    /// Sends what the recording is: width, height, count of frames.
    void sendInfo();
    void sendFrame(uint64_t number, const ViewWish &wish);

private:
    /// Does something with the recording; what goes wrong is told to the browser.
    void use(const std::function<void(client::Playback &)> &action);

    std::mutex mutex_;
    OpenRecording recording_;
    const std::weak_ptr<WebSocket> socket_;
};

} // namespace tavu::view
