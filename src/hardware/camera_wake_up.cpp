#include "hardware/camera_wake_up.h"

#include "encoding/bytes.h"
#include "hardware/binding/buffers.h"

namespace tavu {

namespace {

/// By the CoaXPress standard this register holds the address of the acquisition-start register.
constexpr uint32_t kAcquisitionStartAddress = 0x300C;
constexpr double kSilentFrameRate = 0.001;

/// The number in a buffer of four bytes; camera memory is big-endian.
uint32_t loadRegister(Common::Buffer &buffer)
{
    const auto *bytes = static_cast<const unsigned char *>(buffer.data());
    return uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
}

void cameraWakeUp(Quillon::Port &port)
{
    try {
        const auto address = allocateBuffer(sizeof(uint32_t));
        port.readMemory(address, kAcquisitionStartAddress, 0);
        const auto start = allocateBuffer(sizeof(uint32_t));
        storeBigEndian(static_cast<unsigned char *>(start->data()), uint32_t(1));
        port.writeMemory(start, loadRegister(*address), 0);
    } catch (...) {
        // A camera that can't be woken is left as it is.
    }
}

} // namespace

void wakeIfSilent(Quillon::Port &port)
{
    if (!port.isGrabbing() && port.isCameraDetected() &&
        port.measuredFrameRate() < kSilentFrameRate)
        cameraWakeUp(port);
}

} // namespace tavu
