#pragma once

#include "hardware/catalogue.h"
#include "hardware/port_table.h"
#include "hardware/record_trigger.h"

#include <cstdint>
#include <vector>

namespace tavu {

/// The recording of a device, from its start to the stop that makes catalogued files of it. The
/// order of the steps is the recorder's, and nothing is undone when one fails: the next start or
/// stop cleans up. Wants the device's mutex.
class RecordingControl
{
public:
    RecordingControl(const LibraryAccess &library, PortTable &ports, Catalogue &catalogue)
        : library_(library), ports_(ports), catalogue_(catalogue)
    {
    }

    /// Doesn't ask whether a recording runs, nor whether a port is paired or configured.
    void start(uint32_t portMask, const RecordProgram &program);
    /// Raises "eof" when a drive file has no room for the record of its recordings.
    void stop();
    void softwareTrigger();
    bool isDone();
    void progress(uint8_t port, uint64_t &numFrames, bool &inPretrigger);
    uint8_t percentUsed();

private:
    /// The ports of one recording that went to one drive file.
    struct FileGroup
    {
        struct StoppedPort
        {
            PortState &state;
            bool stillGrabbing;
        };

        uint32_t fileId;
        std::vector<StoppedPort> ports;
    };

    /// Returns those of the ports that are grabbing.
    std::vector<uint64_t> preparePorts(Quillon::Device &recorder, Quillon::Record &record,
                                       uint32_t portMask);
    std::vector<FileGroup> stopPorts(Quillon::Device &recorder, Quillon::Record &record);
    /// False when the file's record has no room for its recordings.
    bool finishFile(Quillon::DriveSet &set, const FileGroup &group);
    uint64_t portProgress(Quillon::Device &recorder, uint64_t port, bool &inPretrigger);

    const LibraryAccess &library_;
    PortTable &ports_;
    Catalogue &catalogue_;
    uint64_t usedBytesAtStart_ = 0;
    uint64_t totalBytesAtStart_ = 0;
    bool recordingActive_ = false;
    uint64_t recordStartTime_ = 0; ///< 100 ns since 1601-01-01 UTC
};

} // namespace tavu
