#include "port.h"

#include "data_descriptor.h"
#include "frame.h"
#include "operation.h"
#include "picture.h"
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

std::string spelled(const Quillon::Port &port)
{
    return spelled(static_cast<const Port &>(port).description().name.c_str());
}

Port::Port(Recorder &recorder, uint32_t index, const PortDescription &description)
    : recorder_(recorder), index_(index), camera_(description),
      serial_(boost::make_shared<SerialChannel>(recorder, *this)), description_(description)
{
}

Port::~Port() = default;

Quillon::String Port::name()
{
    if (isEmptied(recorder_, "Port::name", *this))
        return {};
    return description().name.c_str();
}

bool Port::isCameraDetected()
{
    if (isEmptied(recorder_, "Port::isCameraDetected", *this))
        return false;
    return camera_.isPresent();
}

void Port::setDataDescriptor(const boost::shared_ptr<Quillon::DataDescriptor> &descriptor)
{
    if (isEmptied(recorder_, "Port::setDataDescriptor", *this, descriptor))
        return;
    if (!descriptor)
        throw Common::GeneralException("There is no data descriptor.");
    const auto &fields = static_cast<const DataDescriptor &>(*descriptor);
    const std::lock_guard lock(mutex_);
    declared_ = {fields.width(), fields.height()};
}

void Port::startGrab(const Quillon::GrabOptions &options, uint32_t flags)
{
    if (isEmptied(recorder_, "Port::startGrab", *this, options, flags))
        return;
    const std::lock_guard lock(mutex_);
    grabbing_ = true;
    interrupted_ = false;
    lastDue_ = Clock::now();
}

void Port::stopGrab()
{
    if (isEmptied(recorder_, "Port::stopGrab", *this))
        return;
    const std::lock_guard lock(mutex_);
    grabbing_ = false;
    ++interruptions_;
    changed_.notify_all();
}

bool Port::isGrabbing()
{
    if (isEmptied(recorder_, "Port::isGrabbing", *this))
        return false;
    const std::lock_guard lock(mutex_);
    return grabbing_;
}

void Port::grab(boost::shared_ptr<Common::Frame> &frame, uint32_t timeLimit, bool first,
                bool second, bool third, bool fourth, bool fifth)
{
    frame.reset();
    if (isEmptied(recorder_, "Port::grab", *this, timeLimit, first, second, third, fourth, fifth))
        return;
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
    if (isEmptied(recorder_, "Port::interruptGrab", *this))
        return;
    const std::lock_guard lock(mutex_);
    interrupted_ = true;
    ++interruptions_;
    changed_.notify_all();
}

bool Port::hasSerial()
{
    if (isEmptied(recorder_, "Port::hasSerial", *this))
        return false;
    return description().hasSerial;
}

boost::shared_ptr<Quillon::SerialPort> Port::serial()
{
    if (isEmptied(recorder_, "Port::serial", *this))
        return {};
    if (!description().hasSerial)
        throw Common::GeneralException("The port has no serial channel.");
    return serial_;
}

double Port::measuredFrameRate()
{
    if (isEmptied(recorder_, "Port::measuredFrameRate", *this))
        return 0;
    return camera_.frameRate();
}

uint32_t Port::linkMode()
{
    if (isEmptied(recorder_, "Port::linkMode", *this))
        return 0;
    return description().linkMode;
}

void Port::writeMemory(const boost::shared_ptr<Common::Buffer> &data, uint32_t address,
                       uint32_t flags)
{
    if (isEmptied(recorder_, "Port::writeMemory", *this, Content{data}, Address{address}, flags))
        return;
    Common::Buffer &buffer = required(data);
    camera_.writeMemory(address, buffer.data(), buffer.size());
    cameraChanged();
}

void Port::readMemory(const boost::shared_ptr<Common::Buffer> &data, uint32_t address,
                      uint32_t flags)
{
    if (isEmptied(recorder_, "Port::readMemory", *this, data, Address{address}, flags))
        return;
    Common::Buffer &buffer = required(data);
    camera_.readMemory(address, buffer.data(), buffer.size());
}

bool Port::hasBitDepthSetting()
{
    if (isEmptied(recorder_, "Port::hasBitDepthSetting", *this))
        return false;
    return description().hasBitDepthSetting;
}

void Port::setBitDepth(uint32_t bits)
{
    if (isEmptied(recorder_, "Port::setBitDepth", *this, bits))
        return;
    const std::lock_guard lock(mutex_);
    if (!description_.hasBitDepthSetting)
        throw Common::GeneralException("The port has no bit depth setting.");
    if (bits < 1 || bits > 16)
        throw Common::GeneralException("The port has no such bit depth.");
    bitDepth_ = bits;
}

bool Port::hasPackingSetting()
{
    if (isEmptied(recorder_, "Port::hasPackingSetting", *this))
        return false;
    return description().hasPackingSetting;
}

void Port::setPacking(uint32_t packing)
{
    if (isEmptied(recorder_, "Port::setPacking", *this, packing))
        return;
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
