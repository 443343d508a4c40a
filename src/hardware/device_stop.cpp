#include "hardware/stavu_device.h"

#include "encoding/mem_stream.h"
#include "hardware/binding/buffers.h"
#include "hardware/binding/handles.h"
#include "records/meta_record.h"

#include <algorithm>
#include <utility>

namespace tavu {

// Turns a recording into catalogued files. The frames are on the drives already; what is added is
// their description. Nothing is undone when a step fails: a further stop goes on with the ports
// that are still recording.
void STavuDevice::stopRecording()
{
    std::lock_guard guard(lock_);
    const auto recorder = device();
    refuseVirtual(*recorder, "Virtual devices cannot record.");
    const auto record = given(recorder->record(), "Device::record");
    const auto sets = driveSets(*recorder);
    // Here it is for the library to say what an empty list means.
    const auto set = given(sets->open(sets->ids()[0]), "DriveSetCollection::open");

    std::vector<bool> stillGrabbing(portCount_);
    bool allFit = true;
    for (const FileGroup &group : stopPorts(*recorder, *record, stillGrabbing)) {
        // A port without a file stays marked as recording, until the next start.
        if (group.fileId != 0 && !finishFile(*set, group, stillGrabbing))
            allFit = false;
    }
    recordingActive_ = false;
    if (!allFit)
        MemStream::throwEnd();
}

// Groups stand in the order in which their file was first seen.
std::vector<STavuDevice::FileGroup> STavuDevice::stopPorts(Quillon::Device &device,
                                                           Quillon::Record &record,
                                                           std::vector<bool> &stillGrabbing)
{
    std::vector<FileGroup> groups;
    for (uint64_t i = 0; i < portCount_; ++i) {
        PortState &state = ports_[i];
        if (!state.recording)
            continue;
        const auto port = libraryPort(device, i);
        stillGrabbing[i] = port->isGrabbing();
        state.fileId = record.stopPort(port, 0);
        auto group = std::find_if(groups.begin(), groups.end(), [&](const FileGroup &known) {
            return known.fileId == state.fileId;
        });
        if (group == groups.end())
            group = groups.insert(groups.end(), FileGroup{{}, state.fileId});
        group->ports.push_back(static_cast<uint8_t>(i));
    }
    return groups;
}

bool STavuDevice::finishFile(Quillon::DriveSet &set, const FileGroup &group,
                             const std::vector<bool> &stillGrabbing)
{
    const auto file = given(set.openFile(group.fileId), "DriveSet::openFile");
    std::vector<FileRecord> list;
    for (const uint8_t i : group.ports) {
        PortState &state = ports_[i];
        const auto stream = given(file->streamById(state.streamId), "DriveFile::streamById");
        const auto frames = given(stream->frames(0, 0, false, false), "RecordedStream::frames");
        state.numFrames = frames->frameCount();
        if (state.numFrames != 0) {
            FileRecord entry = newFileRecord(state, group.fileId, state.streamId, state.numFrames,
                                             recordStartTime_);
            entry.camera = state.pairedTo;
            list.push_back(entry);
            catalogue_.push_back(std::move(entry));
        }
        if (stillGrabbing[i])
            state.restartLive = true;
        state.recording = false;
        if (state.numFrames != 0 && state.pairInfo.size() > kInlineBlockLimit)
            writeInfoRecord(group.fileId, state.streamId, state.pairInfo);
    }
    return storeMetaList(*file, group.fileId, std::move(list));
}

FileRecord STavuDevice::newFileRecord(const PortState &port, uint32_t fileId, uint32_t streamId,
                                      uint64_t numFrames, uint64_t timestamp)
{
    FileRecord entry;
    entry.name = std::to_string(fileId) + "-" + std::to_string(streamId);
    entry.port = port.name;
    entry.fileId = fileId;
    entry.streamId = streamId;
    entry.width = port.width;
    entry.height = port.height;
    entry.numFrames = numFrames;
    // The product of the two sides wraps as a signed 32-bit number, and so it is kept.
    const auto pixels = static_cast<int32_t>(uint32_t(port.width) * port.height);
    entry.size = static_cast<uint64_t>(int64_t(pixels)) * numFrames * 2;
    entry.timestamp = timestamp;
    if (port.pairInfo.size() <= kInlineBlockLimit)
        entry.info = port.pairInfo;
    return entry;
}

bool STavuDevice::storeMetaList(Quillon::DriveFile &file, uint32_t fileId,
                                std::vector<FileRecord> list)
{
    const auto block = createBuffer(file.metadataCapacity());
    std::vector<FileRecord> moved;
    bool fits = metaListFits(list, block->size());
    while (!fits) {
        const auto largest = std::max_element(list.begin(), list.end(),
                                              [](const FileRecord &left, const FileRecord &right) {
                                                  return left.info.size() < right.info.size();
                                              });
        if (largest == list.end() || largest->info.empty())
            break;
        moved.push_back(*largest);
        largest->info.clear();
        fits = metaListFits(list, block->size());
    }
    if (fits) {
        for (const FileRecord &entry : moved)
            writeInfoRecord(fileId, entry.streamId, entry.info);
    } else {
        list.clear();
        std::erase_if(catalogue_,
                      [fileId](const FileRecord &entry) { return entry.fileId == fileId; });
    }
    writeMetaList(list, block->data(), block->size());
    file.writeMetadata(block);
    return fits;
}

} // namespace tavu
