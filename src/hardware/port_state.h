#pragma once

#include "hardware/library/port.h"
#include "platform/turn_lock.h"
#include "registry/file_record.h"
#include "service/transport/shared_region.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tavu {

/// What a device holds about one camera port. Guarded by the device's mutex, except where a port's
/// own lock has been handed over to.
struct PortState
{
    std::string name;
    /// The camera's serial channel; empty when closed. Only cleared with portLock held as well.
    boost::shared_ptr<Quillon::SerialPort> serialPort;
    TurnLock grabLock; ///< held while the port waits for a live frame
    TurnLock portLock; ///< held for a transfer with the camera, serial or memory

    std::string pairedTo; ///< the camera's name; empty when unpaired
    uint16_t width = 0;   ///< pixels; 0: not configured
    uint16_t height = 0;  ///< pixels; 0: not configured
    uint32_t pixelFormat = 0;
    uint32_t tapGeometry = 0;
    /// The geometry was found on the drives after the connection, and the recorder wasn't told of
    /// it.
    bool untold = false;

    bool recording = false; ///< takes part in the recording
    uint32_t fileId = 0;    ///< of the last recording that was stopped
    uint32_t streamId = 0;
    uint64_t numFrames = 0;
    uint32_t frameBytes = 0; ///< what one frame takes on the drives

    bool restartLive = false; ///< the next live frame has to restart the acquisition
    bool live = false;        ///< started and not stopped since
    SharedRegion liveRegion;
    /// Regions of a live view that was started again without a stop: clients may still open them.
    /// They go when the view is stopped.
    std::vector<SharedRegion> formerLiveRegions;

    ByteBlock pairInfo; ///< the pairing's block; empty also while it only lies in its file
    uint16_t framesPerPacket = 0;
};

} // namespace tavu
