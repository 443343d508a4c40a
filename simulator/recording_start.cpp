// The start of a recording: its files and its threads.

#include "recording.h"

#include "errors.h"
#include "recorder.h"

#include <algorithm>
#include <system_error>

namespace simulator {

namespace {

/// A drive file to be made, with the streams that go into it.
struct NewFile
{
    std::shared_ptr<FileTable> set; ///< null when the frames are lost
    uint64_t timestamp = 0;
    std::vector<StreamRecord> streams;
    uint32_t id = 0; ///< once it is made
};

StreamRecord describeStream(const Port &port, uint32_t streamId)
{
    StreamRecord stream;
    stream.id = streamId;
    stream.portName = port.description().name;
    stream.port = port.index() + 1;
    stream.width = port.geometry().width;
    stream.height = port.geometry().height;
    return stream;
}

/// Makes all or none.
void makeFiles(std::vector<NewFile> &files)
{
    try {
        for (NewFile &file : files) {
            if (file.set)
                file.id = file.set->createRecording(file.timestamp, file.streams);
        }
    } catch (...) {
        for (const NewFile &file : files) {
            for (size_t i = 0; i < file.streams.size() && file.id != 0; ++i)
                file.set->releaseStream(file.id);
            if (file.id != 0)
                file.set->removeFile(file.id);
        }
        throw;
    }
}

} // namespace

std::vector<FrameWriter> Recording::makeWriters(const std::vector<Slot> &slots) const
{
    const bool isShared = recorder_.description()->sharedFile;
    std::vector<NewFile> files;
    for (const Slot &slot : slots) {
        const auto set = slot.port->deliversNoFile() ? nullptr : slot.set;
        auto file = std::find_if(files.begin(), files.end(), [&](const NewFile &candidate) {
            return isShared && set && candidate.set == set;
        });
        if (file == files.end())
            file = files.insert(file, {set, slot.timestamp, {}, 0});
        file->streams.push_back(describeStream(*slot.port, slot.streamId));
    }
    makeFiles(files);

    std::vector<FrameWriter> writers;
    for (const Slot &slot : slots) {
        for (const NewFile &file : files) {
            for (const StreamRecord &stream : file.streams) {
                if (stream.id == slot.streamId)
                    writers.emplace_back(file.set, file.id, stream);
            }
        }
    }
    return writers;
}

void Recording::launch(const std::vector<Slot> &slots, const std::vector<FrameWriter> &writers)
{
    const RecordControl control = recorder_.triggers().control();
    const Clock::time_point now = Clock::now();
    std::vector<std::shared_ptr<PortRecording>> recordings;
    for (size_t i = 0; i < slots.size(); ++i)
        recordings.push_back(std::make_shared<PortRecording>(slots[i].port, control, writers[i],
                                                             now, slots[i].timestamp));

    // All are listed before the first one runs, so that a trigger reaches all of them.
    {
        std::lock_guard guard(mutex_);
        for (size_t i = 0; i < slots.size(); ++i) {
            Slot &slot = slots_[slots[i].port->index()];
            slot.recording = recordings[i];
            slot.streamId = 0;
        }
    }
    size_t started = 0;
    try {
        for (; started < recordings.size(); ++started)
            PortRecording::start(recordings[started]);
    } catch (const std::system_error &error) {
        std::lock_guard guard(mutex_);
        for (; started < recordings.size(); ++started)
            slots_[slots[started].port->index()].recording.reset();
        raiseError(error.what());
    }
}

} // namespace simulator
