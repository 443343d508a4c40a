#include "emulator/tavu_device_emulator.h"

#include "emulator/frame_geometry.h"
#include "platform/clock.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr uint32_t kOnlyPortMask = 1;
constexpr uint8_t kExternalTriggerBits = 3;

} // namespace

uint32_t TavuDeviceEmulator::nextFileId() const
{
    uint32_t largest = 0;
    for (const FileRecord &entry : catalogue_)
        largest = std::max(largest, entry.fileId);
    return std::max(largest + 1, 1u);
}

FileRecord TavuDeviceEmulator::newFileRecord(uint32_t fileId, const std::string &stem)
{
    FileRecord record;
    record.fileId = fileId;
    record.name = stem;
    record.port = kPortName;
    record.camera = port_.pairedTo;
    record.width = port_.width;
    record.height = port_.height;
    record.timestamp = utcTimestamp();
    return record;
}

void TavuDeviceEmulator::startRecording(uint32_t portMask, uint8_t externalTrigger, uint8_t type,
                                        uint64_t count, bool, uint64_t)
{
    std::lock_guard guard(lock_);
    if (portMask != kOnlyPortMask)
        throw std::runtime_error("Invalid port mask");
    if (externalTrigger & kExternalTriggerBits)
        return;
    if (recordThread_.joinable())
        throw std::runtime_error("Already recording");
    if (port_.width == 0 || port_.height == 0 || port_.pairedTo.empty())
        throw std::runtime_error(kNotReadyText);

    currentFileId_ = nextFileId();
    RecordingJob job;
    job.file.reset(tavu::openFile(folder_.incompleteFile(), "wb"));
    if (!job.file)
        throw std::runtime_error("Failed to create file");
    catalogue_.push_back(newFileRecord(currentFileId_, EmulatorFolder::kIncompleteName));
    writeCatalogue();

    recording_.stop.exchange(0);
    recording_.done.exchange(0);
    recording_.frames.exchange(0);
    job.pixelsPerFrame = framePixels(port_.width, port_.height);
    job.type = type;
    job.count = count;
    recordThread_ = std::thread(recordFrames, std::move(job), std::ref(recording_));
}

void TavuDeviceEmulator::stopRecording()
{
    std::lock_guard guard(lock_);
    if (!recordThread_.joinable())
        throw std::runtime_error("Not recording");
    recording_.stop.exchange(1);
    recordThread_.join();

    const auto entry =
        std::find_if(catalogue_.begin(), catalogue_.end(),
                     [this](const FileRecord &record) { return record.fileId == currentFileId_; });
    if (entry == catalogue_.end())
        throw std::runtime_error("Internal error, lost file id");
    entry->name = fileStem(currentFileId_);
    const std::string path = folder_.frameFile(kPortName, entry->name);
    replaceFile(folder_.incompleteFile(), path);
    entry->size = shownFileSize(fileSize(path).value_or(0));
    // Two sides below 65536 that aren't 0 never multiply to a 0 in the low 32 bits.
    entry->numFrames = entry->size / frameBytes(entry->width, entry->height);

    FileRecord record = newFileRecord(currentFileId_, entry->name);
    record.port = entry->port;
    record.width = entry->width;
    record.height = entry->height;
    record.size = entry->size;
    record.numFrames = entry->numFrames;
    record.info = port_.info;
    visibleFiles_.push_back(record);
    writeFileRecord(record.name, record);
    writeCatalogue();
}

void TavuDeviceEmulator::softwareTrigger()
{
    std::lock_guard guard(lock_);
}

bool TavuDeviceEmulator::isRecordingDone()
{
    std::lock_guard guard(lock_);
    return recording_.done != 0;
}

void TavuDeviceEmulator::recordingFile(uint8_t port, uint32_t &fileId, uint32_t &streamId)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    fileId = currentFileId_;
    streamId = 0;
}

void TavuDeviceEmulator::recordingProgress(uint8_t port, uint64_t &numFrames, bool &inPretrigger)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    numFrames = recording_.frames;
    inPretrigger = false;
}

} // namespace tavu
