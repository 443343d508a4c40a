#include "recording.h"

#include "errors.h"
#include "recorder.h"
#include "storage/drive_set.h"

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

namespace simulator {

Recording::Recording(Recorder &recorder) : recorder_(recorder) {}

Recording::~Recording() = default;

uint32_t Recording::addPort(const boost::shared_ptr<Quillon::Port> &port, uint64_t timestamp,
                            uint32_t portNumber, const std::optional<uint64_t> &limit,
                            const Quillon::String &label)
{
    if (!recorder_.begin("Record::addPort", port, timestamp, portNumber, limit, label))
        return 0;
    const auto own = portOf(port);
    std::lock_guard guard(mutex_);
    Slot &slot = slots_[own->index()];
    slot.port = own;
    slot.timestamp = timestamp;
    slot.streamId = nextStreamId_++;
    return slot.streamId;
}

void Recording::start(uint32_t flags)
{
    if (!recorder_.begin("Record::start", flags))
        return;
    std::lock_guard order(order_);
    const std::vector<Slot> slots = comingSlots();
    for (const Slot &slot : slots) {
        if (!slot.set)
            raiseError(slot.port->description().name + " has no drive set.");
    }
    for (const Slot &slot : slots)
        end(slot.port->index());
    launch(slots, makeWriters(slots));
}

uint32_t Recording::stopPort(const boost::shared_ptr<Quillon::Port> &port, uint32_t flags)
{
    if (!recorder_.begin("Record::stopPort", port, flags))
        return 0;
    const uint32_t index = portOf(port)->index();
    std::lock_guard order(order_);
    std::shared_ptr<PortRecording> recording;
    {
        std::lock_guard guard(mutex_);
        Slot &slot = slots_[index];
        slot.streamId = 0;
        recording = slot.recording;
    }
    if (!recording)
        return 0;
    const uint32_t fileId = recording->stop();
    std::lock_guard guard(mutex_);
    slots_[index].lastFrames = recording->frames();
    slots_[index].recording.reset();
    return fileId;
}

boost::shared_ptr<Quillon::Record::Status>
Recording::status(const boost::shared_ptr<Quillon::Port> &port)
{
    if (!recorder_.begin("Record::status", port))
        return {};
    const uint32_t index = portOf(port)->index();
    auto status = boost::make_shared<Status>();
    std::lock_guard guard(mutex_);
    const Slot &slot = slots_[index];
    status->state = static_cast<uint32_t>(slot.recording ? slot.recording->state()
                                                         : PortRecording::State::Idle);
    status->frames = slot.recording ? slot.recording->frames() : slot.lastFrames;
    return status;
}

void Recording::attachDriveSet(const boost::shared_ptr<Quillon::DriveSet> &set,
                               const boost::shared_ptr<Quillon::Port> &port)
{
    if (!recorder_.begin("Record::attachDriveSet", set, port))
        return;
    const auto own = portOf(port);
    const auto *driveSet = dynamic_cast<const DriveSet *>(set.get());
    if (!driveSet || &driveSet->recorder() != &recorder_)
        raiseError("That is no drive set of this recorder.");
    std::lock_guard guard(mutex_);
    slots_[own->index()].set = driveSet->table();
}

void Recording::detachPort(const boost::shared_ptr<Quillon::Port> &port)
{
    if (!recorder_.begin("Record::detachPort", port))
        return;
    const auto own = portOf(port);
    std::lock_guard guard(mutex_);
    slots_[own->index()].set.reset();
}

void Recording::trigger(TriggerSource source, bool high)
{
    const Clock::time_point now = Clock::now();
    for (const auto &recording : recordings())
        recording->trigger(source, high, now);
}

void Recording::abandon()
{
    std::lock_guard order(order_);
    std::vector<uint32_t> indices;
    {
        std::lock_guard guard(mutex_);
        for (const auto &[index, slot] : slots_)
            indices.push_back(index);
    }
    for (const uint32_t index : indices)
        end(index);
    std::lock_guard guard(mutex_);
    slots_.clear();
}

void Recording::portChanged(Port &port)
{
    std::lock_guard guard(mutex_);
    const auto slot = slots_.find(port.index());
    if (slot != slots_.end() && slot->second.recording)
        slot->second.recording->cameraChanged();
}

boost::shared_ptr<Port> Recording::portOf(const boost::shared_ptr<Quillon::Port> &port) const
{
    auto own = boost::dynamic_pointer_cast<Port>(port);
    if (!own || recorder_.portAt(own->index()) != own)
        raiseError("That is no port of this recorder.");
    return own;
}

std::vector<Recording::Slot> Recording::comingSlots() const
{
    std::lock_guard guard(mutex_);
    std::vector<Slot> coming;
    for (const auto &[index, slot] : slots_) {
        if (slot.streamId != 0)
            coming.push_back(slot);
    }
    return coming;
}

void Recording::end(uint32_t portIndex)
{
    std::shared_ptr<PortRecording> recording;
    {
        std::lock_guard guard(mutex_);
        recording = slots_[portIndex].recording;
    }
    if (!recording)
        return;
    recording->abandon();
    std::lock_guard guard(mutex_);
    slots_[portIndex].lastFrames = recording->frames();
    slots_[portIndex].recording.reset();
}

std::vector<std::shared_ptr<PortRecording>> Recording::recordings() const
{
    std::lock_guard guard(mutex_);
    std::vector<std::shared_ptr<PortRecording>> recordings;
    for (const auto &[index, slot] : slots_) {
        if (slot.recording)
            recordings.push_back(slot.recording);
    }
    return recordings;
}

} // namespace simulator

namespace Quillon {

bool Record::Status::isRecordingFinished() const
{
    using State = simulator::PortRecording::State;
    return state == static_cast<uint32_t>(State::Idle) ||
           state == static_cast<uint32_t>(State::Ended);
}

} // namespace Quillon
