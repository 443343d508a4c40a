#include "emulator/tavu_device_emulator.h"

#include "emulator/frame_geometry.h"
#include "encoding/file_stream.h"
#include "encoding/mem_stream.h"
#include "records/meta_record.h"

#include <algorithm>

namespace tavu {

bool TavuDeviceEmulator::hasIncompleteFile()
{
    std::lock_guard guard(lock_);
    return isRegularFile(folder_.incompleteFile);
}

void TavuDeviceEmulator::discardIncompleteFile()
{
    std::lock_guard guard(lock_);
    deleteFile(folder_.incompleteFile);
}

// This and startRecovery ask hasIncompleteFile with the lock held, and so end in the lock's busy
// error. Clients know these two operations that way; the steps behind the question stand ready.
uint32_t TavuDeviceEmulator::recoveryStatus()
{
    std::lock_guard guard(lock_);
    return hasIncompleteFile() ? 0 : 3;
}

void TavuDeviceEmulator::startRecovery()
{
    std::lock_guard guard(lock_);
    if (!hasIncompleteFile())
        throw std::runtime_error("no file to recover");
    const auto entry =
        std::find_if(catalogue_.begin(), catalogue_.end(), [](const FileRecord &record) {
            return record.name == EmulatorFolder::kIncompleteName;
        });
    if (entry == catalogue_.end())
        return;
    recoveryFileId_ = entry->fileId;
    const std::string stem = std::to_string(recoveryFileId_);
    replaceFile(folder_.incompleteFile, folder_.frameFile(kPortName, stem));
    entry->name = stem;
}

void TavuDeviceEmulator::finishRecovery()
{
    std::lock_guard guard(lock_);
    const std::string stem = std::to_string(recoveryFileId_);
    FileRecord record = newFileRecord(recoveryFileId_, stem);
    const auto divisor = static_cast<int32_t>(frameBytes(record.width, record.height));
    if (divisor == 0)
        throw std::runtime_error(kNotReadyText);
    record.size = shownFileSize(fileSize(folder_.frameFile(kPortName, stem)).value_or(0));
    record.numFrames = record.size / static_cast<uint64_t>(int64_t(divisor));
    record.info = port_.info;

    // The record never reaches its file: this device encodes it into a single byte, so that the
    // last step of a recovery fails with "eof" and leaves an empty file behind.
    const FileStream file(folder_.fileRecord(kPortName, stem), "wb");
    unsigned char byte = 0;
    writeMetaList({&record, 1}, &byte, sizeof(byte));
}

} // namespace tavu
