#pragma once

#include "call_gate.h"
#include "description.h"
#include "hardware/library/device.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

namespace simulator {

class DriveStorage;
class Port;
class Recording;
class TriggerNetwork;

/// One recorder, plugged in or not. Lives as long as the process, as its number does, and so do its
/// ports, its storage, its trigger network and its recording controller. Any thread.
class Recorder final : public Quillon::Device
{
public:
    /// \a folder holds its recorder.conf and its drive sets.
    Recorder(std::filesystem::path folder, CallGate gate, RecorderDescription description);
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;
    virtual ~Recorder();

    uint32_t kind() override;
    Quillon::String name() override;
    Quillon::String altName() override;
    uint32_t connectionState() override;
    boost::shared_ptr<Quillon::HardwareInfo> hardwareInfo(uint32_t flags) override;
    boost::shared_ptr<Quillon::Storage> storage(uint32_t flags) override;
    uint32_t portCount() override;
    boost::shared_ptr<Quillon::Port> port(uint32_t index) override;
    boost::shared_ptr<Quillon::TriggerBank> triggerBank() override;
    boost::shared_ptr<Quillon::Record> record() override;

    /// As CallGate::begin(). Raises also when the recorder is pulled out and the operation needs
    /// it.
    template <typename... Arguments>
    [[nodiscard]] bool begin(Operation operation, const Arguments &...arguments) const
    {
        if (!gate_.begin(operation, arguments...))
            return false;
        if (operation.rule() == OperationRule::Connected)
            requireConnected();
        return true;
    }

    const std::filesystem::path &folder() const { return folder_; }
    const CallGate &gate() const { return gate_; }
    /// The present description. It never changes: a change of the recorder makes a new one.
    std::shared_ptr<const RecorderDescription> description() const;

    bool isConnected() const;
    /// Raises Common::GeneralException when the recorder is pulled out.
    void requireConnected() const;
    /// Raises Common::GeneralException for an index that isn't there. Works while disconnected.
    boost::shared_ptr<Port> portAt(uint32_t index) const;

    Recording &recording() { return *recording_; }
    TriggerNetwork &triggers() { return *triggers_; }

    /// Makes the recorder as described, or pulls it out.
    void describe(const RecorderDescription &description);
    void pullOut();

private:
    const std::filesystem::path folder_;
    const CallGate gate_;

    mutable std::mutex mutex_;
    std::shared_ptr<const RecorderDescription> description_;
    std::vector<boost::shared_ptr<Port>> ports_; ///< only grows

    boost::shared_ptr<DriveStorage> storage_;
    boost::shared_ptr<TriggerNetwork> triggers_;
    boost::shared_ptr<Recording> recording_;
};

} // namespace simulator
