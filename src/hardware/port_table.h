#pragma once

#include "hardware/binding/handles.h"
#include "hardware/library_access.h"
#include "hardware/live_view.h"
#include "platform/turn_lock.h"
#include "records/config_record.h"

#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tavu {

/// What a device holds about one camera port. Guarded by the device's mutex, except where a port's
/// own lock has been handed over to.
struct PortState
{
    PortConfig config;   ///< the block is also empty while it only lies in its file
    bool untold = false; ///< the format was read after the connection; the recorder hasn't got it

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
    PortTable() = default;
    PortTable(const PortTable &) = delete;
    PortTable &operator=(const PortTable &) = delete;
    /// The last port's serial channel is given up first.
    ~PortTable()
    {
        while (!ports_.empty())
            ports_.pop_back();
    }

    /// Built whole or not at all: a port without its name would lose what is stored under it.
    void build(Quillon::Device &recorder)
    {
        std::vector<PortState> ports(recorder.portCount());
        for (uint64_t i = 0; i < ports.size(); ++i)
            ports[i].config.name = textOf(libraryPort(recorder, i)->name());
        ports_ = std::move(ports);
    }

    /// Raises "Invalid port index.".
    PortState &at(uint64_t port)
    {
        if (port >= ports_.size())
            throw std::runtime_error("Invalid port index.");
        return ports_[port];
    }
    PortState &operator[](uint64_t port) { return ports_[port]; }
    uint64_t size() const { return ports_.size(); }
    auto begin() { return ports_.begin(); }
    auto end() { return ports_.end(); }

private:
    /// Not built anew once it has ports: waiting operations hold on to them.
    std::vector<PortState> ports_;
};

} // namespace tavu
