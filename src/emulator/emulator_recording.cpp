#include "emulator/tavu_device_emulator.h"

#include "emulator/attempt.h"
#include "emulator/frame_geometry.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "wire/values.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

namespace tavu {

namespace {

constexpr uint32_t kOnlyPortMask = 1;
constexpr uint8_t kExternalTriggerBits = trigger::kStart | trigger::kStop;

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
    record.width = port_.format.width;
    record.height = port_.format.height;
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
    if (recordThread_.joinable() || stopPending_)
        throw std::runtime_error("Already recording");
    attempt([this] { needPortConfig(); });
    if (!port_.format.hasGeometry() || port_.pairedTo.empty())
        throw std::runtime_error(kNotReadyText);
    needFolder();
    needFiles();
    checkCatalogueLength(catalogue_.size() + 1);

    const uint32_t fileId = nextFileId();
    RecordingJob job;
    job.file.reset(openStdFile(folder_.incompleteFile, "wb"));
    if (!job.file)
        throw std::runtime_error("Failed to create file");
    job.pixelsPerFrame = framePixels(port_.format.width, port_.format.height);
    job.type = type;
    job.count = count;
    catalogue_.push_back(newFileRecord(fileId, EmulatorFolder::kIncompleteName));
    try {
        writeCatalogue();
        launchWorker(std::move(job));
    } catch (...) {
        catalogue_.pop_back();
        deleteFile(folder_.incompleteFile);
        throw;
    }
    currentFileId_ = fileId;
}

void TavuDeviceEmulator::launchWorker(RecordingJob job)
{
    const uint8_t stop = recording_.stop.exchange(0);
    const uint8_t done = recording_.done.exchange(0);
    const uint64_t frames = recording_.frames.exchange(0);
    try {
        recordThread_ = std::thread(recordFrames, std::move(job), std::ref(recording_));
    } catch (...) {
        // Clients go on seeing the last recording.
        recording_.stop = stop;
        recording_.done = done;
        recording_.frames = frames;
        throw;
    }
}

void TavuDeviceEmulator::endWorker()
{
    if (!recordThread_.joinable())
        return;
    recording_.stop.exchange(1);
    recordThread_.join();
}

uint64_t TavuDeviceEmulator::keepFrames(const std::string &stem)
{
    const std::string path = folder_.incompleteFile;
    const std::optional<uint64_t> size = fileSize(path);
    if (size && replaceFile(path, folder_.frameFile(kPortName, stem)))
        return shownFileSize(*size);
    if (isMissing(path))
        return 0;
    throw std::runtime_error("Failed to rename file: " + path);
}

void TavuDeviceEmulator::stopRecording()
{
    std::lock_guard guard(lock_);
    if (!recordThread_.joinable() && !stopPending_)
        throw std::runtime_error("Not recording");
    endWorker();
    stopPending_ = false;

    const auto entry =
        std::find_if(catalogue_.begin(), catalogue_.end(),
                     [this](const FileRecord &record) { return record.fileId == currentFileId_; });
    if (entry == catalogue_.end())
        throw std::runtime_error("Internal error, lost file id");
    const std::string stem = std::to_string(currentFileId_);
    stopPending_ = true;
    entry->size = keepFrames(stem);
    stopPending_ = false;
    entry->name = stem;

    FileRecord record = newFileRecord(currentFileId_, stem);
    record.port = entry->port;
    record.width = entry->width;
    record.height = entry->height;
    record.size = entry->size;
    // Never divides by 0: no two sides from 1 to 65535 multiply to a multiple of 2^31.
    record.numFrames = entry->size / frameBytes(entry->width, entry->height);
    record.info = port_.info;
    visibleFiles_.push_back(record);
    writeFileRecord(stem, record);
    // Not before: a later start doesn't list a recording without its record.
    entry->numFrames = record.numFrames;
    writeCatalogue();
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
