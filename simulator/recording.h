#pragma once

#include "hardware/library/record.h"

namespace simulator {

class Port;
class Recorder;

/// The recording controller of a recorder.
class Recording final : public Quillon::Record
{
public:
    explicit Recording(Recorder &recorder);
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

    /// The recorder is pulled out: running recordings end, and their files stay incomplete.
    void abandon();
    /// The camera on \a port began or ceased to send, or sends otherwise.
    void portChanged(Port &port);
};

} // namespace simulator
