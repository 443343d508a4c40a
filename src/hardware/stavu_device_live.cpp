#include "hardware/stavu_device.h"

#include "hardware/binding/handles.h"
#include "platform/clock.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace tavu {

namespace {

constexpr uint32_t kGrabTimeLimit = 5000;
/// A grab without a frame that lasted so long, in nanoseconds, has run its whole time.
constexpr uint64_t kWholeGrab = 4'500'000'000;

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

std::string STavuDevice::startLive(uint8_t port)
{
    std::lock_guard guard(lock_);
    PortState &state = ports_.at(port);
    const auto camera = libraryPort(*library_.device(), port);
    return state.live.start(*camera, state.config.format.width, state.config.format.height);
}

void STavuDevice::stopLive(uint8_t port)
{
    std::lock_guard guard(lock_);
    PortState &state = ports_.at(port);
    state.live.stop(*libraryPort(*library_.device(), port));
}

void STavuDevice::liveFrame(uint8_t port, uint16_t &width, uint16_t &height, uint32_t &imageSize)
{
    std::unique_lock deviceLock(lock_);
    PortState &state = ports_.at(port);
    const auto camera = libraryPort(*library_.device(), port);
    state.live.restartIfNeeded(*camera);

    // The wait can be long, and only this port shall be held up by it.
    std::optional<TurnLock::Turn> turn(takeTurn(deviceLock, state.grabLock));
    boost::shared_ptr<Common::Frame> frame;
    if (turn->hasCome()) {
        // A recording can have begun or ended while another request had the port.
        state.live.restartIfNeeded(*camera);
        deviceLock.unlock();
        frame = grabFrame(*camera, *turn);
    }
    if (!frame)
        throw std::runtime_error("Failed to grab frame.");
    const auto type = requireHandle(frame->dataType(), "Frame::dataType");
    width = static_cast<uint16_t>(type->width());
    height = static_cast<uint16_t>(type->height());
    imageSize = uint32_t(width) * height * 2;
    const auto buffer = requireHandle(frame->buffer(), "Frame::buffer");
    const uint64_t bufferSize = buffer->size();
    if (type->bitDepth() != 16)
        throw std::runtime_error("Bad frame size.");
    turn.reset();

    deviceLock.lock();
    ports_.at(port).live.show(*buffer, std::min(bufferSize, uint64_t(imageSize)));
}

} // namespace tavu
