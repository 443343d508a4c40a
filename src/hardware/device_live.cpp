#include "hardware/stavu_device.h"

#include "encoding/bytes.h"
#include "hardware/binding/handles.h"
#include "platform/clock.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr uint32_t kGrabTimeLimit = 5000;
/// A grab without a frame that lasted so long, in nanoseconds, has run its whole time.
constexpr uint64_t kWholeGrab = 4'500'000'000;
constexpr Quillon::GrabOptions kGrabOptions = {true, 4};

/// Frames must come with 16 bits a pixel, each pixel on its own.
void selectPixelFormat(Quillon::Port &port)
{
    if (port.hasBitDepthSetting())
        port.setBitDepth(16);
    else if (port.hasPackingSetting())
        port.setPacking(0);
}

void startAgainIfNeeded(PortState &state, Quillon::Port &port)
{
    if (!state.restartLive)
        return;
    state.restartLive = false;
    port.stopGrab();
    selectPixelFormat(port);
    port.startGrab(kGrabOptions, 0);
}

/// Puts a new region in the place of the former one. The one of a running view is kept, for clients
/// that have its name and will still open it. One that starts its view over and over must not use
/// up the system's memory, though.
void replaceRegion(PortState &state, SharedRegion &&region)
{
    constexpr size_t kMostFormerRegions = 64;
    if (state.live) {
        if (state.formerLiveRegions.size() >= kMostFormerRegions)
            state.formerLiveRegions.erase(state.formerLiveRegions.begin());
        state.formerLiveRegions.push_back(std::move(state.liveRegion));
    }
    state.liveRegion = std::move(region);
}

/// Waits for a frame. Those who waited for it all the while that none came needn't try themselves.
boost::shared_ptr<Common::Frame> grabFrame(Quillon::Port &port, TurnLock::Turn &turn)
{
    const uint64_t lineEnd = turn.lineEnd();
    const uint64_t begin = monotonicNanoseconds();
    boost::shared_ptr<Common::Frame> frame;
    port.grab(frame, kGrabTimeLimit, true, false, true, false, true);
    if (!frame && monotonicNanoseconds() - begin >= kWholeGrab)
        turn.passOver(lineEnd);
    return frame;
}

} // namespace

// A view that runs already is started again, with a new region; when that fails it stays as it is.
std::string STavuDevice::startLive(uint8_t port)
{
    std::lock_guard guard(lock_);
    PortState &state = portState(port);
    const auto camera = libraryPort(*device(), port);
    selectPixelFormat(*camera);
    const uint32_t size = uint32_t(state.width) * state.height * 2;
    SharedRegion region;
    if (!region.createUnique("orek_tavu", size, false))
        throw std::runtime_error("Failed to create shared memory mapping.");
    camera->startGrab(kGrabOptions, 0);
    replaceRegion(state, std::move(region));
    state.live = true;
    return state.liveRegion.mappingName();
}

// The present region stays, so that a client can still read the last frame.
void STavuDevice::stopLive(uint8_t port)
{
    std::lock_guard guard(lock_);
    PortState &state = portState(port);
    libraryPort(*device(), port)->stopGrab();
    state.live = false;
    state.formerLiveRegions.clear();
}

void STavuDevice::liveFrame(uint8_t port, uint16_t &width, uint16_t &height, uint32_t &imageSize)
{
    std::unique_lock deviceLock(lock_);
    PortState &state = portState(port);
    const auto camera = libraryPort(*device(), port);
    startAgainIfNeeded(state, *camera);

    // The wait can be long, and only this port shall be held up by it.
    std::optional<TurnLock::Turn> turn(takeTurn(deviceLock, state.grabLock));
    boost::shared_ptr<Common::Frame> frame;
    if (turn->hasCome()) {
        // A recording can have begun or ended while another request had the port.
        startAgainIfNeeded(state, *camera);
        deviceLock.unlock();
        frame = grabFrame(*camera, *turn);
    }
    if (!frame)
        throw std::runtime_error("Failed to grab frame.");
    const auto type = given(frame->dataType(), "Frame::dataType");
    width = static_cast<uint16_t>(type->width());
    height = static_cast<uint16_t>(type->height());
    imageSize = uint32_t(width) * height * 2;
    const auto buffer = given(frame->buffer(), "Frame::buffer");
    const uint64_t bufferSize = buffer->size();
    if (type->bitDepth() != 16)
        throw std::runtime_error("Bad frame size.");
    turn.reset();

    deviceLock.lock();
    SharedRegion &region = portState(port).liveRegion;
    if (!region.view())
        throw std::runtime_error("Invalid shared memory mapping.");
    copyBytes(region.view(), buffer->data(),
              std::min({region.viewSize(), bufferSize, uint64_t(imageSize)}));
}

} // namespace tavu
