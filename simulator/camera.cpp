#include "camera.h"

#include "errors.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace simulator {

namespace {

/// The CoaXPress register that holds the address of the acquisition-start register.
constexpr uint32_t kAcquisitionStartAddress = 0x300C;

constexpr double kNanosecondsPerSecond = 1e9;

uint32_t bigEndian(const uint8_t *bytes)
{
    return uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
}

} // namespace

Camera::Camera(const PortDescription &description) : description_(description)
{
    fillMemory();
    if (description_.hasCamera && !description_.silent) {
        sending_ = true;
        restart(0);
    }
}

void Camera::describe(const PortDescription &description)
{
    std::lock_guard guard(mutex_);
    const PortDescription before = description_;
    const uint64_t sent = sends() ? firstNumber_ + framesUntil(Clock::now()) : 0;
    description_ = description;

    const bool pluggedIn = description.hasCamera && !before.hasCamera;
    if (pluggedIn || description.memorySize != before.memorySize ||
        description.registers != before.registers ||
        description.acquisitionStart != before.acquisitionStart)
        fillMemory();
    if (!description.hasCamera) {
        sending_ = false;
    } else if (pluggedIn || description.silent != before.silent) {
        const bool goesOn = sending_ && !description.silent && !pluggedIn;
        sending_ = !description.silent;
        restart(goesOn ? sent : 0);
    } else if (description.frameRate != before.frameRate) {
        restart(sent);
    }
}

bool Camera::isPresent() const
{
    std::lock_guard guard(mutex_);
    return description_.hasCamera;
}

double Camera::frameRate() const
{
    std::lock_guard guard(mutex_);
    return sends() ? description_.frameRate : 0;
}

std::optional<Camera::Tick> Camera::nextTick(Clock::time_point time) const
{
    std::lock_guard guard(mutex_);
    if (!sends())
        return std::nullopt;
    const uint64_t frame = framesUntil(time);
    return Tick{firstNumber_ + frame, dueTime(frame)};
}

std::optional<Camera::Tick> Camera::newestTick(Clock::time_point time) const
{
    std::lock_guard guard(mutex_);
    const uint64_t count = sends() ? framesUntil(time) : 0;
    if (count == 0)
        return std::nullopt;
    return Tick{firstNumber_ + count - 1, dueTime(count - 1)};
}

void Camera::wake()
{
    std::lock_guard guard(mutex_);
    if (sending_ || !description_.hasCamera)
        return;
    sending_ = true;
    restart(0);
}

void Camera::silence()
{
    std::lock_guard guard(mutex_);
    sending_ = false;
}

void Camera::readMemory(uint32_t address, void *target, uint64_t size) const
{
    std::lock_guard guard(mutex_);
    requireMemory(address, size);
    std::copy_n(memory_.data() + address, size, static_cast<uint8_t *>(target));
}

void Camera::writeMemory(uint32_t address, const void *source, uint64_t size)
{
    std::lock_guard guard(mutex_);
    requireMemory(address, size);
    std::copy_n(static_cast<const uint8_t *>(source), size, memory_.data() + address);

    const uint64_t start = description_.acquisitionStart;
    const bool written = address < start + 4 && start < address + size;
    if (!written || start + 4 > memory_.size())
        return;
    const uint32_t value = bigEndian(memory_.data() + start);
    if (value == 1 && !sending_) {
        sending_ = true;
        restart(0);
    } else if (value == 0) {
        sending_ = false;
    }
}

uint64_t Camera::framesUntil(Clock::time_point time) const
{
    if (time <= origin_)
        return 0;
    const std::chrono::duration<double> passed = time - origin_;
    uint64_t count = static_cast<uint64_t>(passed.count() * description_.frameRate);
    // The quotient can be off by one frame, and must agree with dueTime().
    while (count > 0 && dueTime(count - 1) > time)
        --count;
    while (dueTime(count) <= time)
        ++count;
    return count;
}

Clock::time_point Camera::dueTime(uint64_t frame) const
{
    const double nanoseconds =
        kNanosecondsPerSecond * static_cast<double>(frame + 1) / description_.frameRate;
    // A rate of next to nothing must not leave the clock's range.
    const double century = 100.0 * 365 * 24 * 3600 * kNanosecondsPerSecond;
    return origin_ + std::chrono::duration_cast<Clock::duration>(std::chrono::nanoseconds(
                         static_cast<int64_t>(std::min(nanoseconds, century))));
}

void Camera::restart(uint64_t firstNumber)
{
    origin_ = Clock::now();
    firstNumber_ = firstNumber;
}

void Camera::fillMemory()
{
    memory_.assign(description_.memorySize, 0);
    store(kAcquisitionStartAddress, description_.acquisitionStart);
    for (const auto &[address, value] : description_.registers)
        store(address, value);
}

void Camera::store(uint32_t address, uint32_t value)
{
    if (uint64_t(address) + 4 > memory_.size())
        return;
    for (unsigned i = 0; i < 4; ++i)
        memory_[address + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

void Camera::requireMemory(uint32_t address, uint64_t size) const
{
    if (!description_.hasCamera)
        raiseError("There is no camera on the port.");
    if (address > memory_.size() || size > memory_.size() - address)
        raiseError("The camera has no memory there.");
}

} // namespace simulator
