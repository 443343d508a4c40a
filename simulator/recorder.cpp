#include "recorder.h"

#include "errors.h"
#include "port.h"
#include "recording.h"
#include "storage/drive_storage.h"
#include "trigger_network.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

/// For a port that the recorder no longer has: it stays, but without a camera.
PortDescription emptyPort(const PortDescription &before)
{
    PortDescription description = before;
    description.hasCamera = false;
    return description;
}

} // namespace

Recorder::Recorder(std::filesystem::path folder, CallGate gate, RecorderDescription description)
    : folder_(std::move(folder)), gate_(std::move(gate)),
      description_(std::make_shared<RecorderDescription>(std::move(description)))
{
    for (const PortDescription &port : description_->ports)
        ports_.push_back(
            boost::make_shared<Port>(*this, static_cast<uint32_t>(ports_.size()), port));
    storage_ = boost::make_shared<DriveStorage>(*this);
    triggers_ = boost::make_shared<TriggerNetwork>(*this);
    recording_ = boost::make_shared<Recording>(*this);
}

Recorder::~Recorder() = default;

uint32_t Recorder::kind()
{
    return begin("Device::kind") && description()->isVirtual ? 1 : 0;
}

Quillon::String Recorder::name()
{
    return begin("Device::name") ? description()->name.c_str() : "";
}

Quillon::String Recorder::altName()
{
    return begin("Device::altName") ? description()->alternativeName.c_str() : "";
}

uint32_t Recorder::connectionState()
{
    return !begin("Device::connectionState") || isConnected() ? 0 : 1;
}

boost::shared_ptr<Quillon::HardwareInfo> Recorder::hardwareInfo(uint32_t flags)
{
    if (!begin("Device::hardwareInfo", flags))
        return {};
    auto info = boost::make_shared<Quillon::HardwareInfo>();
    info->deviceType = description()->deviceType;
    return info;
}

boost::shared_ptr<Quillon::Storage> Recorder::storage(uint32_t flags)
{
    return begin("Device::storage", flags) ? storage_ : nullptr;
}

uint32_t Recorder::portCount()
{
    return begin("Device::portCount") ? static_cast<uint32_t>(description()->ports.size()) : 0;
}

boost::shared_ptr<Quillon::Port> Recorder::port(uint32_t index)
{
    return begin("Device::port", index) ? portAt(index) : nullptr;
}

boost::shared_ptr<Quillon::TriggerBank> Recorder::triggerBank()
{
    return begin("Device::triggerBank") ? triggers_ : nullptr;
}

boost::shared_ptr<Quillon::Record> Recorder::record()
{
    return begin("Device::record") ? recording_ : nullptr;
}

std::shared_ptr<const RecorderDescription> Recorder::description() const
{
    std::lock_guard guard(mutex_);
    return description_;
}

bool Recorder::isConnected() const
{
    std::lock_guard guard(mutex_);
    return description_->connected;
}

void Recorder::requireConnected() const
{
    const auto now = description();
    if (!now->connected)
        raiseError(now->name + " is not connected.");
}

boost::shared_ptr<Port> Recorder::portAt(uint32_t index) const
{
    std::lock_guard guard(mutex_);
    if (index >= description_->ports.size())
        raiseError("There is no such port.");
    return ports_[index];
}

void Recorder::describe(const RecorderDescription &description)
{
    const auto after = std::make_shared<const RecorderDescription>(description);
    std::shared_ptr<const RecorderDescription> before;
    std::vector<boost::shared_ptr<Port>> ports;
    {
        std::lock_guard guard(mutex_);
        for (size_t i = ports_.size(); i < after->ports.size(); ++i)
            ports_.push_back(
                boost::make_shared<Port>(*this, static_cast<uint32_t>(i), after->ports[i]));
        before = std::exchange(description_, after);
        ports = ports_;
    }
    for (size_t i = 0; i < ports.size(); ++i)
        ports[i]->describe(i < after->ports.size() ? after->ports[i]
                                                   : emptyPort(ports[i]->description()));
    if (before->connected && !after->connected) {
        recording_->abandon();
        triggers_->reset();
        storage_->close();
        for (const auto &port : ports)
            port->reset();
    }
    if (after->externalInputHigh != before->externalInputHigh)
        triggers_->externalInputChanged(after->externalInputHigh);
}

void Recorder::pullOut()
{
    RecorderDescription description = *this->description();
    description.connected = false;
    describe(description);
}

} // namespace simulator
