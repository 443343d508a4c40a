#include "emulator/tavu_device_emulator.h"

#include "emulator/attempt.h"

namespace tavu {

void TavuDeviceEmulator::checkPort(uint8_t port)
{
    if (port != 0)
        throw std::runtime_error("Invalid port");
    attempt([this] { needPortConfig(); });
}

void TavuDeviceEmulator::getPortConfig(uint8_t port, uint16_t &width, uint16_t &height,
                                       uint32_t &pixelFormat, uint32_t &tapGeometry)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    width = port_.format.width;
    height = port_.format.height;
    pixelFormat = port_.format.pixelFormat;
    tapGeometry = port_.format.tapGeometry;
}

void TavuDeviceEmulator::setPortConfig(uint8_t port, uint16_t width, uint16_t height,
                                       uint32_t pixelFormat, uint32_t tapGeometry)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    needPortConfig();
    port_.format = {width, height, pixelFormat, tapGeometry};
    recording_.width = width;
    writePortConfig();
}

void TavuDeviceEmulator::setPairing(const std::string &identity, const void *info,
                                    uint32_t infoSize, uint16_t numFramesPerPacket)
{
    const auto *bytes = static_cast<const uint8_t *>(info);
    port_.pairedTo = identity;
    port_.info = ByteBlock(bytes, bytes + infoSize);
    port_.framesPerPacket = numFramesPerPacket;
    writePortConfig();
}

void TavuDeviceEmulator::pairPort(uint8_t port, const std::string &identity, const void *info,
                                  uint32_t infoSize, uint16_t numFramesPerPacket)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    needPortConfig();
    setPairing(identity, info, infoSize, numFramesPerPacket);
}

void TavuDeviceEmulator::repairPort(uint8_t port, const std::string &identity, const void *info,
                                    uint32_t infoSize, uint16_t numFramesPerPacket)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    needPortConfig();
    if (identity != port_.pairedTo)
        throw std::runtime_error("Not paried to this camera");
    setPairing(identity, info, infoSize, numFramesPerPacket);
}

void TavuDeviceEmulator::unpairPort(uint8_t port)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    needPortConfig();
    setPairing(std::string(), nullptr, 0, 0);
}

void TavuDeviceEmulator::portIdentity(uint8_t port, ByteBlock &data)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    data = port_.info;
}

uint16_t TavuDeviceEmulator::framesPerPacket(uint8_t port)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    return port_.framesPerPacket;
}

std::string TavuDeviceEmulator::pairedTo(uint8_t port)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    return port_.pairedTo;
}

} // namespace tavu
