#pragma once

#include "hardware/library/record.h"
#include "port_recording.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace simulator {

class Recorder;

/// The recording controller of a recorder. Any thread.
class Recording final : public Quillon::Record
{
public:
    explicit Recording(Recorder &recorder);
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;
    virtual ~Recording();

    uint32_t addPort(const boost::shared_ptr<Quillon::Port> &port, uint64_t timestamp,
                     uint32_t portNumber, const std::optional<uint64_t> &limit,
                     const Quillon::String &label) override;
    void start(uint32_t flags) override;
    uint32_t stopPort(const boost::shared_ptr<Quillon::Port> &port, uint32_t flags) override;
    boost::shared_ptr<Status> status(const boost::shared_ptr<Quillon::Port> &port) override;
    void attachDriveSet(const boost::shared_ptr<Quillon::DriveSet> &set,
                        const boost::shared_ptr<Quillon::Port> &port) override;
    void detachPort(const boost::shared_ptr<Quillon::Port> &port) override;

    // What follows is for the library itself.

    /// A source of the trigger network fires; its level becomes \a high.
    void trigger(TriggerSource source, bool high);
    /// The recorder is pulled out: running recordings end, and their files stay incomplete. What
    /// programs have attached and added is forgotten.
    void abandon();
    /// The camera on \a port has changed, or has started or stopped sending.
    void portChanged(Port &port);

private:
    struct Slot
    {
        boost::shared_ptr<Port> port;
        std::shared_ptr<FileTable> set; ///< the attached drive set
        uint32_t streamId = 0;          ///< in the next recording; 0: the port takes no part
        uint64_t timestamp = 0;         ///< of the next recording
        std::shared_ptr<PortRecording> recording; ///< until it is stopped
        uint64_t lastFrames = 0;                  ///< frames of the last recording that was stopped
    };

    boost::shared_ptr<Port> portOf(const boost::shared_ptr<Quillon::Port> &port) const;
    std::vector<Slot> comingSlots() const;
    void end(uint32_t portIndex);
    std::vector<std::shared_ptr<PortRecording>> recordings() const;
    std::vector<FrameWriter> makeWriters(const std::vector<Slot> &slots) const;
    void launch(const std::vector<Slot> &slots, const std::vector<FrameWriter> &writers);

    Recorder &recorder_;
    std::mutex order_; ///< held while recordings are started and ended; taken before mutex_
    mutable std::mutex mutex_;
    uint32_t nextStreamId_ = 1;
    std::map<uint32_t, Slot> slots_; ///< by the port's index
};

} // namespace simulator
