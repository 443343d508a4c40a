#include "emulator/tavu_device_emulator.h"

#include "emulator/attempt.h"
#include "records/recording_name.h"

#include <algorithm>

namespace tavu {

namespace {

template <typename List>
auto findById(List &list, uint32_t fileId)
{
    return std::find_if(list.begin(), list.end(),
                        [fileId](const FileRecord &record) { return record.fileId == fileId; });
}

[[noreturn]] void throwInvalidFileId()
{
    throw std::runtime_error("Invalid fileId");
}

} // namespace

TavuDeviceEmulator::FileEntry TavuDeviceEmulator::findFile(uint32_t fileId)
{
    needFiles();
    const FileEntry entry = {findById(catalogue_, fileId), findById(visibleFiles_, fileId)};
    if (entry.stored == catalogue_.end() || entry.visible == visibleFiles_.end())
        throwInvalidFileId();
    return entry;
}

TavuDeviceEmulator::FileEntry TavuDeviceEmulator::findFile(OpenSlot &slot)
{
    if (slot.takenOut != takenOut_) {
        const FileEntry entry = findFile(slot.fileId);
        slot.stored = static_cast<size_t>(entry.stored - catalogue_.begin());
        slot.visible = static_cast<size_t>(entry.visible - visibleFiles_.begin());
        slot.takenOut = takenOut_;
    }
    return {catalogue_.begin() + static_cast<std::ptrdiff_t>(slot.stored),
            visibleFiles_.begin() + static_cast<std::ptrdiff_t>(slot.visible)};
}

TavuDeviceEmulator::OpenSlot &TavuDeviceEmulator::openSlot(uint32_t openFileId)
{
    if (openFileId >= slots_.size())
        throwInvalidFileId();
    OpenSlot &slot = slots_[openFileId];
    if (!slot.file.isOpen())
        throw std::runtime_error("File not open");
    return slot;
}

std::vector<FileRecord> TavuDeviceEmulator::listFiles()
{
    std::lock_guard guard(lock_);
    attempt([this] { needFiles(); });
    return visibleFiles_;
}

void TavuDeviceEmulator::fileIdentity(uint32_t fileId, uint32_t, ByteBlock &data)
{
    std::lock_guard guard(lock_);
    const auto record = findById(visibleFiles_, fileId);
    if (record == visibleFiles_.end())
        throwInvalidFileId();
    data = record->info.bytes();
}

void TavuDeviceEmulator::removeFile(uint32_t fileId, uint32_t)
{
    std::lock_guard guard(lock_);
    // A slot whose opening failed has the id, too, and counts as open.
    for (const OpenSlot &slot : slots_) {
        if (slot.fileId == fileId)
            throw std::runtime_error("File is open");
    }
    const FileEntry entry = findFile(fileId);
    checkCatalogueLength(catalogue_.size() - 1);
    ++takenOut_;
    FileRecord stored = std::move(*entry.stored);
    FileRecord visible = std::move(*entry.visible);
    const auto storedPlace = catalogue_.erase(entry.stored);
    const auto visiblePlace = visibleFiles_.erase(entry.visible);
    const std::string frames = folder_.frameFile(kPortName, std::to_string(fileId));
    try {
        writeCatalogue();
    } catch (...) {
        // A full disk has no room for the new list before the recording has gone. Its record goes
        // first: without that no start shows the recording, whatever fails from here on.
        const std::string record = folder_.fileRecord(stored.port, stored.name);
        if (!deleteFile(record) && !isMissing(record)) {
            catalogue_.insert(storedPlace, std::move(stored));
            visibleFiles_.insert(visiblePlace, std::move(visible));
            throw;
        }
        deleteFile(frames);
        writeCatalogue();
        return;
    }
    deleteFile(frames);
    deleteFile(folder_.fileRecord(kPortName, std::to_string(fileId)));
}

void TavuDeviceEmulator::renameFile(uint32_t fileId, uint32_t, const std::string &name)
{
    std::lock_guard guard(lock_);
    const FileEntry entry = findFile(fileId);
    entry.visible->name = name;
    writeFileRecord(entry.stored->name, *entry.visible);
}

std::string TavuDeviceEmulator::setFileInfo(uint32_t fileId, uint32_t, const FileUpdate &update)
{
    std::lock_guard guard(lock_);
    const FileEntry entry = findFile(fileId);
    FileRecord &record = *entry.visible;
    // The name that the recording has now counts as taken, too.
    record.name = unusedRecordingName(visibleFiles_, update.name);
    update.applyTo(record);
    std::string finalName = record.name;
    writeFileRecord(entry.stored->name, record);
    return finalName;
}

void TavuDeviceEmulator::setup()
{
    std::lock_guard guard(lock_);
    needFiles();
    for (const FileRecord &entry : catalogue_) {
        // The record first: a start shows nothing that has none.
        deleteFile(folder_.fileRecord(entry.port, entry.name));
        deleteFile(folder_.frameFile(entry.port, entry.name));
    }
    // Users go on seeing the recordings until the next start; opening one is refused.
    ++takenOut_;
    catalogue_.clear();
    deleteFile(folder_.catalogue);
}

} // namespace tavu
