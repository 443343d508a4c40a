#pragma once

#include "hardware/library/common.h"

#include <cstdint>
#include <optional>

namespace Quillon {

class DriveSet;
class Port;

/// The recording controller of a recorder.
class Record
{
public:
    struct Status
    {
        std::uint32_t state;  ///< 2 means that the port is filling its pre-trigger
        std::uint64_t frames; ///< taken so far

        QUILLON_API bool isRecordingFinished() const;
    };

    /// Takes the port into the coming recording and returns its stream id. Ports are numbered from
    /// 1 here.
    virtual std::uint32_t addPort(const boost::shared_ptr<Port> &port, std::uint64_t timestamp,
                                  std::uint32_t portNumber,
                                  const std::optional<std::uint64_t> &limit,
                                  const String &label) = 0;
    virtual void start(std::uint32_t flags) = 0;
    /// Ends the port's recording and returns the id of its drive file, which ports can share; 0
    /// means no file.
    virtual std::uint32_t stopPort(const boost::shared_ptr<Port> &port, std::uint32_t flags) = 0;
    virtual boost::shared_ptr<Status> status(const boost::shared_ptr<Port> &port) = 0;
    virtual void attachDriveSet(const boost::shared_ptr<DriveSet> &set,
                                const boost::shared_ptr<Port> &port) = 0;
    /// Harmless on a port that isn't attached.
    virtual void detachPort(const boost::shared_ptr<Port> &port) = 0;

protected:
    ~Record() = default;
};

} // namespace Quillon
