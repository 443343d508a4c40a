#include "hardware/stavu_device.h"

#include "encoding/mem_stream.h"
#include "hardware/binding/handles.h"
#include "platform/clock.h"

#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

// The job's last known state, as clients see it.
constexpr uint32_t kRunning = 1;
constexpr uint32_t kFailed = 2;
constexpr uint32_t kDone = 3;
constexpr uint32_t kCancelled = 4;

} // namespace

bool STavuDevice::hasIncompleteFileNow()
{
    return firstDriveSet()->incompleteFileId() != 0;
}

bool STavuDevice::hasIncompleteFile()
{
    std::lock_guard guard(lock_);
    return hasIncompleteFileNow();
}

// Asks the library even when there is none, and doesn't look at a running job.
void STavuDevice::discardIncompleteFile()
{
    std::lock_guard guard(lock_);
    const auto set = firstDriveSet();
    set->removeFile(set->incompleteFileId());
}

void STavuDevice::startRecovery()
{
    std::lock_guard guard(lock_);
    if (recovery_)
        throw std::runtime_error("Recovery already in progress.");
    const auto set = firstDriveSet();
    incompleteFileId_ = set->incompleteFileId();
    recovery_ = given(set->recover(incompleteFileId_), "DriveSet::recover");
}

// Only a poll makes an ended job known: until then it counts as being in progress.
uint32_t STavuDevice::recoveryStatus()
{
    std::lock_guard guard(lock_);
    if (recovery_) {
        if (recovery_->isCancelled()) {
            recoveryStatusValue_ = kCancelled;
            recovery_.reset();
        } else if (!recovery_->isFinished()) {
            recoveryStatusValue_ = kRunning;
        } else if (recovery_->isSuccessful()) {
            recoveryStatusValue_ = kDone;
            recovery_.reset();
        } else {
            recoveryStatusValue_ = kFailed;
            recoveryErrorText_ = textOf(recovery_->errorText());
            recovery_.reset();
        }
    }
    return recoveryStatusValue_;
}

std::string STavuDevice::recoveryError()
{
    std::lock_guard guard(lock_);
    return recoveryErrorText_;
}

void STavuDevice::cancelRecovery()
{
    std::lock_guard guard(lock_);
    if (!recovery_)
        throw std::runtime_error("Recovery not in progress.");
    recovery_->cancel();
}

// Builds the metadata that stopRecording() never wrote. Whether a job ran, and how it ended, is the
// client's concern.
void STavuDevice::finishRecovery()
{
    std::lock_guard guard(lock_);
    if (incompleteFileId_ == 0)
        throw std::runtime_error("no incomplete file.");
    const auto file = given(firstDriveSet()->openFile(incompleteFileId_), "DriveSet::openFile");
    std::vector<FileRecord> list;
    for (uint32_t i = 0; i < file->streamCount(); ++i)
        recoverStream(*file, i, list);
    if (!storeMetaList(*file, incompleteFileId_, std::move(list)))
        MemStream::throwEnd();
}

// A stream belongs to the port of its name; without one it is passed over.
void STavuDevice::recoverStream(Quillon::DriveFile &file, uint32_t index,
                                std::vector<FileRecord> &list)
{
    const uint32_t streamId = file.streamIdByIndex(index);
    const auto stream = given(file.streamByIndex(index), "DriveFile::streamByIndex");
    const auto frames = given(stream->frames(0, 0, false, false), "RecordedStream::frames");
    const std::string portName = textOf(stream->portName());
    for (uint64_t i = 0; i < portCount_; ++i) {
        const PortState &state = ports_[i];
        if (state.name != portName)
            continue;
        const FileRecord entry =
            newFileRecord(state, incompleteFileId_, streamId, frames->frameCount(), utcTimestamp());
        if (entry.numFrames == 0)
            continue;
        list.push_back(entry);
        catalogue_.push_back(entry);
        // By the ids that the port has, not by those of this stream: so it has always been.
        if (state.pairInfo.size() > kInlineBlockLimit)
            writeInfoRecord(state.fileId, state.streamId, state.pairInfo);
    }
}

} // namespace tavu
