#include "hardware/stavu_device.h"

#include "hardware/binding/buffers.h"
#include "hardware/binding/handles.h"
#include "platform/clock.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>

// What can wait for a camera: the operations that take a port's lock and give the device's up.

namespace tavu {

namespace {

constexpr uint32_t kGrabTimeLimit = 5000;
/// A grab without a frame that lasted so long, in nanoseconds, has run its whole time.
constexpr uint64_t kWholeGrab = 4'500'000'000;
constexpr uint32_t kReceiveTimeLimit = 100;

/// Takes a port's lock beside the device's, which is given up while there is a wait. The place in
/// the line is that of the device's mutex. One that is passed over comes back without both locks.
TurnLock::Turn takeTurn(std::unique_lock<std::mutex> &deviceLock, TurnLock &portLock)
{
    TurnLock::Turn turn(portLock);
    if (!turn.hasCome()) {
        deviceLock.unlock();
        if (turn.wait())
            deviceLock.lock();
    }
    return turn;
}

/// Takes a port's lock and gives the device's up.
TurnLock::Turn handOver(std::unique_lock<std::mutex> &deviceLock, TurnLock &portLock)
{
    TurnLock::Turn turn = takeTurn(deviceLock, portLock);
    deviceLock.unlock();
    return turn;
}

/// Waits for a frame. When none came in the whole time, those in line meanwhile needn't try.
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

void requireOpen(const PortState &state)
{
    if (!state.serialPort)
        throw std::runtime_error("Serial port not open.");
}

void requireEnabled(Quillon::SerialPort &serial)
{
    if (!serial.isEnabled())
        throw std::runtime_error("Serial port not enabled.");
}

boost::shared_ptr<Common::Buffer> bufferOf(const void *data, uint32_t size)
{
    auto buffer = allocateBuffer(size);
    if (size > 0)
        std::memcpy(buffer->data(), data, size);
    return buffer;
}

void copyOut(void *target, Common::Buffer &buffer, uint32_t size)
{
    if (size > 0)
        std::memcpy(target, buffer.data(), size);
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

/// An open serial channel, with the lock of its port held.
struct STavuDevice::Channel
{
    Quillon::SerialPort *operator->() const { return serial.get(); }

    TurnLock::Turn turn;
    boost::shared_ptr<Quillon::SerialPort> &serial;
};

STavuDevice::Channel STavuDevice::takeChannel(std::unique_lock<std::mutex> &deviceLock,
                                              uint8_t port)
{
    PortState &state = ports_.at(port);
    requireOpen(state);
    TurnLock::Turn turn = takeTurn(deviceLock, state.portLock);
    // It can have been closed meanwhile.
    requireOpen(state);
    return {std::move(turn), state.serialPort};
}

STavuDevice::Channel STavuDevice::handOverToChannel(uint8_t port)
{
    std::unique_lock deviceLock(lock_);
    return takeChannel(deviceLock, port);
}

// When a step after serial() fails, the channel stays open.
void STavuDevice::serialOpen(uint8_t port, uint32_t baudRate, uint8_t parity, uint8_t stopBits)
{
    std::lock_guard guard(lock_);
    PortState &state = ports_.at(port);
    if (state.serialPort)
        throw std::runtime_error("Serial port already open.");
    const auto camera = libraryPort(*library_.device(), port);
    if (!camera->hasSerial())
        throw std::runtime_error("serial not supported on this device");
    if (!camera->isCameraDetected())
        throw std::runtime_error("camera not detected");
    state.serialPort = camera->serial();
    if (!state.serialPort)
        throw std::runtime_error("failed to get serial port from camera port.");
    Quillon::SerialPort &serial = *state.serialPort;
    serial.setBaudRate(baudRate);
    serial.setParity(parity);
    serial.setStopBits(stopBits);
    serial.setWatermark(serial.watermarkLimit() / 16);
    serial.setEnabled(true);
}

uint32_t STavuDevice::serialGetBaudRate(uint8_t port)
{
    return handOverToChannel(port)->baudRate();
}

void STavuDevice::serialSetBaudRate(uint8_t port, uint32_t baudRate)
{
    const Channel channel = handOverToChannel(port);
    channel->setEnabled(false);
    channel->setBaudRate(baudRate);
    channel->setEnabled(true);
}

// All or nothing: the full size is delivered, or the read fails.
uint32_t STavuDevice::serialRead(uint8_t port, void *buffer, uint32_t size)
{
    const Channel channel = handOverToChannel(port);
    requireEnabled(*channel.serial);
    const auto received = allocateBuffer(size);
    if (!channel->receive(received, kReceiveTimeLimit, Quillon::String()))
        throw std::runtime_error("Serial port recieve failed.");
    copyOut(buffer, *received, size);
    return size;
}

uint32_t STavuDevice::serialWrite(uint8_t port, const void *buffer, uint32_t size)
{
    const Channel channel = handOverToChannel(port);
    requireEnabled(*channel.serial);
    channel->send(bufferOf(buffer, size));
    return size;
}

void STavuDevice::serialClear(uint8_t port)
{
    const Channel channel = handOverToChannel(port);
    requireEnabled(*channel.serial);
    channel->clear(0);
}

// Holds both locks, and so waits for a transfer under way.
void STavuDevice::serialClose(uint8_t port)
{
    std::unique_lock deviceLock(lock_);
    const Channel channel = takeChannel(deviceLock, port);
    channel.serial.reset();
}

// The buffer is made before the port is taken: a client may announce any size, and that takes time.
void STavuDevice::registerRead(uint8_t port, uint32_t addr, void *buffer, uint32_t size)
{
    std::unique_lock deviceLock(lock_);
    ports_.at(port);
    const auto camera = libraryPort(*library_.device(), port);
    deviceLock.unlock();
    const auto content = allocateBuffer(size);
    deviceLock.lock();
    const TurnLock::Turn turn = handOver(deviceLock, ports_.at(port).portLock);
    camera->readMemory(content, addr, 0);
    copyOut(buffer, *content, size);
}

void STavuDevice::registerWrite(uint8_t port, uint32_t addr, const void *buffer, uint32_t size)
{
    std::unique_lock deviceLock(lock_);
    PortState &state = ports_.at(port);
    const auto camera = libraryPort(*library_.device(), port);
    const TurnLock::Turn turn = handOver(deviceLock, state.portLock);
    camera->writeMemory(bufferOf(buffer, size), addr, 0);
}

} // namespace tavu
