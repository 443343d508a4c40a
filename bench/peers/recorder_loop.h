#pragma once

#include "hardware/library/instance.h"

#include <cstdint>

namespace tavu::bench {

/// The recorder library in this process, without any service: what a program of its own would do.
class RecorderLoop
{
public:
    RecorderLoop();

    /// Reads the metadata of every file of the first recorder; returns how many there are.
    uint64_t readMetadata();

    void openStream(uint32_t fileId, uint32_t streamId);
    /// Reads a frame of that stream and copies it once.
    void readFrame(uint64_t index, void *target, uint64_t size);

private:
    boost::shared_ptr<Quillon::Instance> instance_;
    boost::shared_ptr<Quillon::DeviceCollection> collection_;
    boost::shared_ptr<Quillon::DriveSet> set_;
    boost::shared_ptr<Quillon::FrameSequence> frames_;
};

} // namespace tavu::bench
