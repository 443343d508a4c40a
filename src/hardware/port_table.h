#pragma once

#include "hardware/library/device.h"
#include "hardware/live_view.h"
#include "platform/turn_lock.h"
#include "records/config_record.h"

#include <vector>

namespace tavu {

/// What a device holds about one camera port. Guarded by the device's mutex, except where a port's
/// own lock has been handed over to.
struct PortState
{
    PortConfig config; ///< the block is also empty while it only lies in its file
    /// The geometry was found on the drives after the connection, and the recorder wasn't told of
    /// it.
    bool untold = false;

    /// The camera's serial channel; empty when closed. Only cleared with portLock held as well.
    boost::shared_ptr<Quillon::SerialPort> serialPort;
    TurnLock portLock; ///< held for a transfer with the camera, serial or memory
    TurnLock grabLock; ///< held while the port waits for a live frame
    LiveView live;

    bool recording = false; ///< takes part in the recording
    uint32_t fileId = 0;    ///< of the last recording that was stopped
    uint32_t streamId = 0;
    uint64_t numFrames = 0;
    uint32_t frameBytes = 0; ///< what one frame takes on the drives
};

/// The ports of a device, in the recorder's order.
class PortTable
{
public:
    /// Asks the recorder for its ports. The table is built whole or not at all: a port without its
    /// name would lose what is stored under that name.
    void build(Quillon::Device &recorder);

    /// Raises "Invalid port index.".
    PortState &at(uint64_t port);
    PortState &operator[](uint64_t port) { return ports_[port]; }
    uint64_t size() const { return ports_.size(); }
    auto begin() { return ports_.begin(); }
    auto end() { return ports_.end(); }

private:
    /// Not built anew once it has ports: waiting operations hold on to them.
    std::vector<PortState> ports_;
};

} // namespace tavu
