#include "hardware/stavu_device.h"

#include "hardware/binding/buffers.h"

#include <cstring>
#include <stdexcept>

namespace tavu {

namespace {

constexpr uint32_t kReceiveTimeLimit = 100;

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
    const auto buffer = allocateBuffer(size);
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

// A failure behind the storing of the channel leaves it open.
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
    const Channel channel = handOverToChannel(port);
    Quillon::SerialPort &serial = *channel.serial;
    return serial.baudRate();
}

void STavuDevice::serialSetBaudRate(uint8_t port, uint32_t baudRate)
{
    const Channel channel = handOverToChannel(port);
    Quillon::SerialPort &serial = *channel.serial;
    serial.setEnabled(false);
    serial.setBaudRate(baudRate);
    serial.setEnabled(true);
}

// All or nothing: the full size is delivered, or the read fails.
uint32_t STavuDevice::serialRead(uint8_t port, void *buffer, uint32_t size)
{
    const Channel channel = handOverToChannel(port);
    Quillon::SerialPort &serial = *channel.serial;
    requireEnabled(serial);
    const auto received = allocateBuffer(size);
    if (!serial.receive(received, kReceiveTimeLimit, Quillon::String()))
        throw std::runtime_error("Serial port recieve failed.");
    copyOut(buffer, *received, size);
    return size;
}

uint32_t STavuDevice::serialWrite(uint8_t port, const void *buffer, uint32_t size)
{
    const Channel channel = handOverToChannel(port);
    Quillon::SerialPort &serial = *channel.serial;
    requireEnabled(serial);
    serial.send(bufferOf(buffer, size));
    return size;
}

void STavuDevice::serialClear(uint8_t port)
{
    const Channel channel = handOverToChannel(port);
    Quillon::SerialPort &serial = *channel.serial;
    requireEnabled(serial);
    serial.clear(0);
}

// Holds both locks, and so waits for a transfer under way.
void STavuDevice::serialClose(uint8_t port)
{
    std::unique_lock deviceLock(lock_);
    const Channel channel = takeChannel(deviceLock, port);
    channel.serial.reset();
}

// The size is only announced, and a large buffer takes its time: it is made ready before the port
// is taken.
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
