#include "hardware/recording_recovery.h"

#include "encoding/mem_stream.h"
#include "hardware/binding/handles.h"
#include "hardware/drive_records.h"
#include "platform/clock.h"

#include <stdexcept>
#include <utility>

namespace tavu {

void RecordingRecovery::discardIncompleteFile()
{
    const auto set = library_.firstDriveSet();
    set->removeFile(set->incompleteFileId());
}

void RecordingRecovery::start()
{
    if (recovery_)
        throw std::runtime_error("Recovery already in progress.");
    const auto set = library_.firstDriveSet();
    incompleteFileId_ = set->incompleteFileId();
    recovery_ = requireHandle(set->recover(incompleteFileId_), "DriveSet::recover");
}

void RecordingRecovery::cancel()
{
    if (!recovery_)
        throw std::runtime_error("Recovery not in progress.");
    recovery_->cancel();
}

RecoveryStatus RecordingRecovery::status()
{
    if (!recovery_)
        return lastStatus_;
    if (recovery_->isCancelled()) {
        lastStatus_ = RecoveryStatus::Cancelled;
    } else if (!recovery_->isFinished()) {
        return lastStatus_ = RecoveryStatus::Running;
    } else if (recovery_->isSuccessful()) {
        lastStatus_ = RecoveryStatus::Done;
    } else {
        lastStatus_ = RecoveryStatus::Failed;
        recoveryErrorText_ = textOf(recovery_->errorText());
    }
    recovery_.reset();
    return lastStatus_;
}

void RecordingRecovery::finish()
{
    if (incompleteFileId_ == 0)
        throw std::runtime_error("no incomplete file.");
    const auto file = openDriveFile(*library_.firstDriveSet(), incompleteFileId_);
    std::vector<FileRecord> list;
    for (uint32_t i = 0; i < file->streamCount(); ++i)
        recoverStream(*file, i, list);
    if (!catalogue_.storeMetaList(*file, incompleteFileId_, std::move(list)))
        MemStream::throwEnd();
}

// A stream belongs to the ports of its name; without any it is passed over.
void RecordingRecovery::recoverStream(Quillon::DriveFile &file, uint32_t index,
                                      std::vector<FileRecord> &list)
{
    const uint32_t streamId = file.streamIdByIndex(index);
    const auto stream = requireHandle(file.streamByIndex(index), "DriveFile::streamByIndex");
    const auto frames = allFrames(*stream);
    const std::string portName = textOf(stream->portName());
    for (const PortState &state : ports_) {
        if (state.config.name != portName)
            continue;
        const FileRecord entry = newFileRecord(state.config, incompleteFileId_, streamId,
                                               frames->frameCount(), utcTimestamp());
        if (entry.numFrames == 0)
            continue;
        list.push_back(entry);
        catalogue_.add(entry);
        // The ids are the port's, not this stream's: so the files are named on the drives.
        if (state.config.info.size() > kInlineBlockLimit)
            writeInfoRecord(library_, state.fileId, state.streamId, state.config.info);
    }
}

} // namespace tavu
