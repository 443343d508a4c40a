#include "client/playback.h"

#include <exception>

namespace tavu::client {

namespace {

/// For what a destructor does, which must not raise. What fails here the service cleans up when the
/// connection ends.
template <typename Action>
void quietly(Action action)
{
    try {
        action();
    } catch (const std::exception &) {
    }
}

} // namespace

Playback::Playback(Connection &connection, uint32_t device, uint32_t fileId, uint32_t streamId)
    : connection_(connection), device_(device)
{
    const OpenedFile opened = connection.openFile(device, fileId, streamId);
    openFileId_ = opened.openFileId;
    try {
        info_ = connection.fileInfo(device, openFileId_);
        region_.emplace(opened.mapping);
    } catch (...) {
        quietly([this] { connection_.closeFile(device_, openFileId_); });
        throw;
    }
}

Playback::~Playback()
{
    quietly([this] { connection_.closeFile(device_, openFileId_); });
}

FrameView Playback::frame(uint64_t index)
{
    connection_.readFrame(device_, openFileId_, index);
    return region_->frame(info_.width, info_.height);
}

LiveView::LiveView(Connection &connection, uint32_t device, uint8_t port)
    : connection_(connection), device_(device), port_(port)
{
    const std::string mapping = connection.startLive(device, port);
    try {
        region_.emplace(mapping);
    } catch (...) {
        quietly([this] { connection_.stopLive(device_, port_); });
        throw;
    }
}

LiveView::~LiveView()
{
    quietly([this] { connection_.stopLive(device_, port_); });
}

FrameView LiveView::frame()
{
    const FrameGeometry geometry = connection_.liveFrame(device_, port_);
    return region_->frame(geometry.width, geometry.height);
}

} // namespace tavu::client
