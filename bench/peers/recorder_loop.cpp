#include "recorder_loop.h"

#include <cstring>
#include <stdexcept>

namespace tavu::bench {

RecorderLoop::RecorderLoop()
{
    instance_ = Quillon::Instance::initialize(Quillon::String("bench"), false, Quillon::Scope{});
    collection_ = instance_->deviceCollection(Quillon::HostInterfaceType{7}, false);
    const auto sets = collection_->device(0)->storage(0)->driveSets();
    set_ = sets->open(sets->ids()[0]);
}

uint64_t RecorderLoop::readMetadata()
{
    const auto ids = set_->fileIds();
    for (uint64_t i = 0; i < ids.size(); ++i)
        set_->openFile(ids[i])->readMetadata();
    return ids.size();
}

void RecorderLoop::openStream(uint32_t fileId, uint32_t streamId)
{
    frames_ = set_->openFile(fileId)->streamById(streamId)->frames(0, 0, false, false);
}

void RecorderLoop::readFrame(uint64_t index, void *target, uint64_t size)
{
    boost::shared_ptr<Common::Frame> frame;
    frames_->readFrames(frame, index, 1);
    if (!frame || frame->buffer()->size() < size)
        throw std::runtime_error("the recording is short");
    std::memcpy(target, frame->buffer()->data(), size);
}

} // namespace tavu::bench
