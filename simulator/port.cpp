#include "port.h"

#include "data_descriptor.h"
#include "frame.h"
#include "picture.h"
#include "recorder.h"
#include "recording.h"
#include "serial_channel.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <vector>

namespace simulator {

namespace {

constexpr Port::Geometry kDefaultGeometry{640, 480};
constexpr uint64_t kLargestFrame = uint64_t(1) << 30; ///< bytes

Common::Buffer &required(const boost::shared_ptr<Common::Buffer> &data)
{
    if (!data)
        throw Common::GeneralException("There is no buffer.");
    return *data;
}

} // namespace

Port::Port(Recorder &recorder, uint32_t index, const PortDescription &description)
    : recorder_(recorder), index_(index), camera_(description),
      serial_(boost::make_shared<SerialChannel>(recorder, *this)), description_(description)
{
}

Port::~Port() = default;

Quillon::String Port::name()
{
    if (recorder_.faults().empties("Port::name"))
        return {};
    recorder_.requireConnected();
    return description().name.c_str();
}

bool Port::isCameraDetected()
{
    if (recorder_.faults().empties("Port::isCameraDetected"))
        return false;
    recorder_.requireConnected();
    return camera_.isPresent();
}

void Port::setDataDescriptor(const boost::shared_ptr<Quillon::DataDescriptor> &descriptor)
{
    if (recorder_.faults().empties("Port::setDataDescriptor"))
        return;
    recorder_.requireConnected();
    if (!descriptor)
        throw Common::GeneralException("There is no data descriptor.");
    const auto &fields = static_cast<const DataDescriptor &>(*descriptor);
    const std::lock_guard lock(mutex_);
    declared_ = {fields.width(), fields.height()};
}

void Port::startGrab(const Quillon::GrabOptions &, uint32_t)
{
    if (recorder_.faults().empties("Port::startGrab"))
        return;
    recorder_.requireConnected();
    const std::lock_guard lock(mutex_);
    grabbing_ = true;
    interrupted_ = false;
    lastDue_ = Clock::now();
}

void Port::stopGrab()
{
    if (recorder_.faults().empties("Port::stopGrab"))
        return;
    recorder_.requireConnected();
    const std::lock_guard lock(mutex_);
    grabbing_ = false;
    ++interruptions_;
    changed_.notify_all();
}

bool Port::isGrabbing()
{
    if (recorder_.faults().empties("Port::isGrabbing"))
        return false;
    recorder_.requireConnected();
    const std::lock_guard lock(mutex_);
    return grabbing_;
}

void Port::grab(boost::shared_ptr<Common::Frame> &frame, uint32_t timeLimit, bool, bool, bool, bool,
                bool)
{
    frame.reset();
    if (recorder_.faults().empties("Port::grab"))
        return;
    recorder_.requireConnected();
    if (const auto tick = awaitFrame(std::chrono::milliseconds(timeLimit)))
        frame = takePicture(tick->number);
}

std::optional<Camera::Tick> Port::awaitFrame(std::chrono::milliseconds timeLimit)
{
    Clock::time_point now = Clock::now();
    const Clock::time_point deadline = now + timeLimit;
    std::unique_lock lock(mutex_);
    const uint64_t interruptions = interruptions_;
    for (; grabbing_ && !interrupted_ && interruptions_ == interruptions; now = Clock::now()) {
        const auto newest = camera_.newestTick(now);
        if (newest && newest->due > lastDue_) {
            lastDue_ = newest->due;
            return newest;
        }
        if (now >= deadline)
            break;
        const auto next = camera_.nextTick(now);
        changed_.wait_until(lock, next ? std::min(next->due, deadline) : deadline);
    }
    return std::nullopt;
}

boost::shared_ptr<Common::Frame> Port::takePicture(uint64_t number) const
{
    const Geometry size = geometry();
    const uint32_t depth = bitDepth();
    const uint64_t bytes = frameBytes(size.width, size.height, depth);
    if (bytes > kLargestFrame)
        throw Common::GeneralException("The frames of the port are too large.");
    const boost::shared_ptr<Common::Buffer> buffer(new Common::Buffer(bytes));
    if (depth == 16) {
        drawPicture(static_cast<uint16_t *>(buffer->data()), size.width, size.height, index_ + 1,
                    number);
    } else {
        std::vector<uint16_t> pixels(size_t(size.width) * size.height);
        drawPicture(pixels.data(), size.width, size.height, index_ + 1, number);
        const auto cut = [mask = (1u << depth) - 1](uint16_t pixel) { return pixel & mask; };
        if (depth <= 8)
            std::transform(pixels.begin(), pixels.end(), static_cast<uint8_t *>(buffer->data()),
                           cut);
        else
            std::transform(pixels.begin(), pixels.end(), static_cast<uint16_t *>(buffer->data()),
                           cut);
    }
    return makeFrame(size.width, size.height, depth, buffer);
}

void Port::interruptGrab()
{
    if (recorder_.faults().empties("Port::interruptGrab"))
        return;
    recorder_.requireConnected();
    const std::lock_guard lock(mutex_);
    interrupted_ = true;
    ++interruptions_;
    changed_.notify_all();
}

bool Port::hasSerial()
{
    if (recorder_.faults().empties("Port::hasSerial"))
        return false;
    recorder_.requireConnected();
    return description().hasSerial;
}

boost::shared_ptr<Quillon::SerialPort> Port::serial()
{
    if (recorder_.faults().empties("Port::serial"))
        return {};
    recorder_.requireConnected();
    if (!description().hasSerial)
        throw Common::GeneralException("The port has no serial channel.");
    return serial_;
}

double Port::measuredFrameRate()
{
    if (recorder_.faults().empties("Port::measuredFrameRate"))
        return 0;
    recorder_.requireConnected();
    return camera_.frameRate();
}

uint32_t Port::linkMode()
{
    if (recorder_.faults().empties("Port::linkMode"))
        return 0;
    recorder_.requireConnected();
    return description().linkMode;
}

void Port::writeMemory(const boost::shared_ptr<Common::Buffer> &data, uint32_t address, uint32_t)
{
    if (recorder_.faults().empties("Port::writeMemory"))
        return;
    recorder_.requireConnected();
    Common::Buffer &buffer = required(data);
    camera_.writeMemory(address, buffer.data(), buffer.size());
    cameraChanged();
}

void Port::readMemory(const boost::shared_ptr<Common::Buffer> &data, uint32_t address, uint32_t)
{
    if (recorder_.faults().empties("Port::readMemory"))
        return;
    recorder_.requireConnected();
    Common::Buffer &buffer = required(data);
    camera_.readMemory(address, buffer.data(), buffer.size());
}

bool Port::hasBitDepthSetting()
{
    if (recorder_.faults().empties("Port::hasBitDepthSetting"))
        return false;
    recorder_.requireConnected();
    return description().hasBitDepthSetting;
}

void Port::setBitDepth(uint32_t bits)
{
    if (recorder_.faults().empties("Port::setBitDepth"))
        return;
    recorder_.requireConnected();
    const std::lock_guard lock(mutex_);
    if (!description_.hasBitDepthSetting)
        throw Common::GeneralException("The port has no bit depth setting.");
    if (bits < 1 || bits > 16)
        throw Common::GeneralException("The port has no such bit depth.");
    bitDepth_ = bits;
}

bool Port::hasPackingSetting()
{
    if (recorder_.faults().empties("Port::hasPackingSetting"))
        return false;
    recorder_.requireConnected();
    return description().hasPackingSetting;
}

void Port::setPacking(uint32_t packing)
{
    if (recorder_.faults().empties("Port::setPacking"))
        return;
    recorder_.requireConnected();
    const std::lock_guard lock(mutex_);
    if (!description_.hasPackingSetting)
        throw Common::GeneralException("The port has no packing setting.");
    unpacked_ = packing == 0;
}

PortDescription Port::description() const
{
    const std::lock_guard lock(mutex_);
    return description_;
}

Port::Geometry Port::geometry() const
{
    const std::lock_guard lock(mutex_);
    if (description_.frameWidth > 0)
        return {description_.frameWidth, description_.frameHeight};
    if (declared_.width > 0 && declared_.height > 0)
        return declared_;
    return kDefaultGeometry;
}

bool Port::deliversNoFile() const
{
    const std::lock_guard lock(mutex_);
    return description_.noFile;
}

uint32_t Port::bitDepth() const
{
    const std::lock_guard lock(mutex_);
    return bitDepth_ ? *bitDepth_ : unpacked_ ? 16 : description_.bitDepth;
}

void Port::describe(const PortDescription &description)
{
    camera_.describe(description);
    {
        const std::lock_guard lock(mutex_);
        description_ = description;
    }
    cameraChanged();
}

void Port::reset()
{
    serial_->reset();
    const std::lock_guard lock(mutex_);
    declared_ = {};
    bitDepth_.reset();
    unpacked_ = false;
    grabbing_ = false;
    ++interruptions_;
    changed_.notify_all();
}

void Port::cameraChanged()
{
    {
        const std::lock_guard lock(mutex_);
        changed_.notify_all();
    }
    recorder_.recording().portChanged(*this);
}

} // namespace simulator
