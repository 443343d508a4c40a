#include "emulator/tavu_device_emulator.h"

#include "emulator/frame_geometry.h"
#include "emulator/frame_ramp.h"
#include "wire/names.h"

#include <algorithm>

namespace tavu {

namespace {

void createRegion(SharedRegion &region, uint32_t size)
{
    if (!region.createUnique(kRegionBaseName, size, false))
        throw std::runtime_error("Failed to create memory mapping");
}

void checkLive(const SharedRegion &region)
{
    if (!region.view())
        throw std::runtime_error("Live not started");
}

} // namespace

void TavuDeviceEmulator::openFile(uint32_t &openFileId, std::string &mapping, uint32_t fileId,
                                  uint32_t)
{
    std::lock_guard guard(lock_);
    const FileEntry entry = findFile(fileId);
    const auto free = std::find_if(slots_.begin(), slots_.end(),
                                   [](const OpenSlot &slot) { return !slot.file.isOpen(); });
    openFileId = static_cast<uint32_t>(free - slots_.begin());
    OpenSlot &slot = free == slots_.end() ? slots_.emplace_back() : *free;

    // The slot keeps these when the rest fails.
    slot.fileId = fileId;
    slot.position = 0;
    slot.takenOut = kNeverLookedUp;
    const std::string path = folder_.frameFile(kPortName, std::to_string(fileId));
    InputFile file(path);
    if (!file.isOpen() || !isRegularFile(path))
        throw std::runtime_error("Failed to open file");
    createRegion(slot.region, frameBytes(entry.stored->width, entry.stored->height));
    slot.file = std::move(file);
    mapping = slot.region.mappingName();
}

void TavuDeviceEmulator::fileInfo(uint32_t openFileId, uint16_t &width, uint16_t &height,
                                  uint32_t &imageSize, uint64_t &numFrames, uint64_t &size)
{
    std::lock_guard guard(lock_);
    const FileEntry entry = findFile(openSlot(openFileId));
    width = entry.stored->width;
    height = entry.stored->height;
    imageSize = frameBytes(width, height);
    numFrames = entry.visible->numFrames;
    size = entry.visible->size;
}

void TavuDeviceEmulator::closeFile(uint32_t openFileId)
{
    std::lock_guard guard(lock_);
    OpenSlot &slot = openSlot(openFileId);
    slot.file.close();
    slot.fileId = kNoFileId;
    slot.region.close();
}

void TavuDeviceEmulator::readFrame(uint32_t openFileId, uint64_t frame)
{
    std::lock_guard guard(lock_);
    OpenSlot &slot = openSlot(openFileId);
    const FileEntry entry = findFile(slot);
    if (frame >= entry.visible->numFrames)
        throw std::runtime_error("Invalid frame index");

    // The offset is the low 32 bits, signed. A negative one is no place in the file, so that the
    // read goes on where the last one ended.
    const uint32_t bytes = frameBytes(entry.stored->width, entry.stored->height);
    const auto offset = static_cast<int32_t>(bytes * static_cast<uint32_t>(frame));
    if (offset >= 0)
        slot.position = static_cast<uint32_t>(offset);
    // The region keeps its size when the file id comes back with another geometry.
    slot.position += slot.file.readAt(slot.position, slot.region.view(),
                                      std::min<uint64_t>(bytes, slot.region.viewSize()));
}

std::string TavuDeviceEmulator::startLive(uint8_t port)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    if (liveRegion_.view())
        throw std::runtime_error("Live alrady started");
    liveCounter_ = 0;
    livePixels_ = framePixels(port_.format.width, port_.format.height);
    createRegion(liveRegion_, livePixels_ * 2);
    return liveRegion_.mappingName();
}

void TavuDeviceEmulator::liveFrame(uint8_t port, uint16_t &width, uint16_t &height,
                                   uint32_t &imageSize)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    checkLive(liveRegion_);
    // The present geometry, though the region and the ramp keep that of the start.
    width = port_.format.width;
    height = port_.format.height;
    imageSize = frameBytes(width, height);
    const uint64_t room = liveRegion_.viewSize() / sizeof(uint16_t);
    fillRamp(static_cast<uint16_t *>(liveRegion_.view()),
             static_cast<size_t>(std::min<uint64_t>(livePixels_, room)),
             static_cast<uint16_t>(liveCounter_));
    liveCounter_ += livePixels_;
}

void TavuDeviceEmulator::stopLive(uint8_t port)
{
    std::lock_guard guard(lock_);
    checkPort(port);
    checkLive(liveRegion_);
    liveRegion_.close();
}

} // namespace tavu
