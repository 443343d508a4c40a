#include "client/tavuview/player.h"

#include "client/tools/advice.h"
#include "client/tools/json_values.h"
#include "client/tools/text.h"

#include <exception>

namespace tavu::view {

RecordingName recordingNameOf(const WebRequest &request)
{
    RecordingName name;
    name.device = static_cast<uint32_t>(request.number("device", 0xFFFFFFFF));
    name.fileId = static_cast<uint32_t>(request.number("file", 0xFFFFFFFF));
    name.streamId = static_cast<uint32_t>(request.number("stream", 0xFFFFFFFF, 0));
    return name;
}

client::Playback &OpenRecording::get()
{
    if (playback_ && link_->isCurrent())
        return *playback_;
    drop();
    return playback_.emplace(link_->get(), name_.device, name_.fileId, name_.streamId);
}

void OpenRecording::drop()
{
    playback_.reset();
    link_->drop();
}

void Player::use(const std::function<void(client::Playback &)> &action)
{
    const std::lock_guard lock(mutex_);
    try {
        action(recording_.get());
        return;
    } catch (const std::exception &error) {
        if (!dynamic_cast<const client::ServiceError *>(&error))
            recording_.drop();
        const tools::Json json = {{"error", tools::printable(error.what())},
                                  {"advice", tools::adviceFor(error.what()).inViewer}};
        if (const auto socket = socket_.lock())
            socket->send(json.dump());
    }
}

void Player::sendInfo()
{
    use([this](client::Playback &playback) {
        const client::OpenFileInfo &info = playback.info();
        const tools::Json json = {
            {"width", info.width}, {"height", info.height}, {"frames", info.numFrames}};
        if (const auto socket = socket_.lock())
            socket->send(json.dump());
    });
}

void Player::sendFrame(uint64_t number, const ViewWish &wish)
{
    use([&](client::Playback &playback) {
        FrameMaker maker(playback.frame(number), number, 0);
        if (const auto socket = socket_.lock())
            socket->send(maker.make(wish));
    });
}

} // namespace tavu::view
