#include "port.h"

#include "data_descriptor.h"
#include "errors.h"
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
    return recorder_.begin("Port::name", *this) ? description().name.c_str() : "";
}

bool Port::isCameraDetected()
{
    return recorder_.begin("Port::isCameraDetected", *this) && camera_.isPresent();
}

void Port::setDataDescriptor(const boost::shared_ptr<Quillon::DataDescriptor> &descriptor)
{
    if (!recorder_.begin("Port::setDataDescriptor", *this, descriptor))
        return;
    const auto &fields =
        static_cast<const DataDescriptor &>(required(descriptor, "There is no data descriptor."));
    std::lock_guard guard(mutex_);
    declared_ = {fields.width(), fields.height()};
}

void Port::startGrab(const Quillon::GrabOptions &options, uint32_t flags)
{
    if (!recorder_.begin("Port::startGrab", *this, options, flags))
        return;
    std::lock_guard guard(mutex_);
    grabbing_ = true;
    interrupted_ = false;
    lastDue_ = Clock::now();
}

void Port::stopGrab()
{
    if (!recorder_.begin("Port::stopGrab", *this))
        return;
    std::lock_guard guard(mutex_);
    grabbing_ = false;
    ++interruptions_;
    changed_.notify_all();
}

bool Port::isGrabbing()
{
    if (!recorder_.begin("Port::isGrabbing", *this))
        return false;
    std::lock_guard guard(mutex_);
    return grabbing_;
}

void Port::grab(boost::shared_ptr<Common::Frame> &frame, uint32_t timeLimit, bool first,
                bool second, bool third, bool fourth, bool fifth)
{
    frame.reset();
    if (recorder_.begin("Port::grab", *this, timeLimit, first, second, third, fourth, fifth))
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
        raiseError("The frames of the port are too large.");
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
    if (!recorder_.begin("Port::interruptGrab", *this))
        return;
    std::lock_guard guard(mutex_);
    interrupted_ = true;
    ++interruptions_;
    changed_.notify_all();
}

bool Port::hasSerial()
{
    return recorder_.begin("Port::hasSerial", *this) && description().hasSerial;
}

boost::shared_ptr<Quillon::SerialPort> Port::serial()
{
    if (!recorder_.begin("Port::serial", *this))
        return {};
    if (!description().hasSerial)
        raiseError("The port has no serial channel.");
    return serial_;
}

double Port::measuredFrameRate()
{
    return recorder_.begin("Port::measuredFrameRate", *this) ? camera_.frameRate() : 0;
}

uint32_t Port::linkMode()
{
    return recorder_.begin("Port::linkMode", *this) ? description().linkMode : 0;
}

void Port::writeMemory(const boost::shared_ptr<Common::Buffer> &data, uint32_t address,
                       uint32_t flags)
{
    if (!recorder_.begin("Port::writeMemory", *this, Content{data}, Address{address}, flags))
        return;
    Common::Buffer &buffer = required(data);
    camera_.writeMemory(address, buffer.data(), buffer.size());
    cameraChanged();
}

void Port::readMemory(const boost::shared_ptr<Common::Buffer> &data, uint32_t address,
                      uint32_t flags)
{
    if (!recorder_.begin("Port::readMemory", *this, data, Address{address}, flags))
        return;
    Common::Buffer &buffer = required(data);
    camera_.readMemory(address, buffer.data(), buffer.size());
}

bool Port::hasBitDepthSetting()
{
    return recorder_.begin("Port::hasBitDepthSetting", *this) && description().hasBitDepthSetting;
}

void Port::setBitDepth(uint32_t bits)
{
    if (!recorder_.begin("Port::setBitDepth", *this, bits))
        return;
    std::lock_guard guard(mutex_);
    if (!description_.hasBitDepthSetting)
        raiseError("The port has no bit depth setting.");
    if (bits < 1 || bits > 16)
        raiseError("The port has no such bit depth.");
    bitDepth_ = bits;
}

bool Port::hasPackingSetting()
{
    return recorder_.begin("Port::hasPackingSetting", *this) && description().hasPackingSetting;
}

void Port::setPacking(uint32_t packing)
{
    if (!recorder_.begin("Port::setPacking", *this, packing))
        return;
    std::lock_guard guard(mutex_);
    if (!description_.hasPackingSetting)
        raiseError("The port has no packing setting.");
    unpacked_ = packing == 0;
}

PortDescription Port::description() const
{
    std::lock_guard guard(mutex_);
    return description_;
}

Port::Geometry Port::geometry() const
{
    std::lock_guard guard(mutex_);
    if (description_.frameWidth > 0)
        return {description_.frameWidth, description_.frameHeight};
    if (declared_.width > 0 && declared_.height > 0)
        return declared_;
    return kDefaultGeometry;
}

bool Port::deliversNoFile() const
{
    std::lock_guard guard(mutex_);
    return description_.noFile;
}

uint32_t Port::bitDepth() const
{
    std::lock_guard guard(mutex_);
    return bitDepth_ ? *bitDepth_ : unpacked_ ? 16 : description_.bitDepth;
}

void Port::describe(const PortDescription &description)
{
    camera_.describe(description);
    {
        std::lock_guard guard(mutex_);
        description_ = description;
    }
    cameraChanged();
}

void Port::reset()
{
    serial_->reset();
    std::lock_guard guard(mutex_);
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
        std::lock_guard guard(mutex_);
        changed_.notify_all();
    }
    recorder_.recording().portChanged(*this);
}

} // namespace simulator
