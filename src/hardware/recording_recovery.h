#pragma once

#include "hardware/catalogue.h"
#include "hardware/port_table.h"
#include "wire/values.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tavu {

/// Discards or repairs what is left of a recording that was cut off. Wants the device's mutex.
class RecordingRecovery
{
public:
    RecordingRecovery(const LibraryAccess &library, PortTable &ports, Catalogue &catalogue)
        : library_(library), ports_(ports), catalogue_(catalogue)
    {
    }

    void forgetStatus() { lastStatus_ = RecoveryStatus::None; }
    bool hasIncompleteFile() { return library_.firstDriveSet()->incompleteFileId() != 0; }
    /// Asks the library even when there is none, and doesn't look at a running job.
    void discardIncompleteFile();
    /// Raises "Recovery already in progress.".
    void start();
    /// Only asks the job. Raises "Recovery not in progress.".
    void cancel();
    /// Only a poll makes an ended job known: until then it counts as being in progress.
    RecoveryStatus status();
    const std::string &error() const { return recoveryErrorText_; }
    /// Builds the metadata that no stop has written. Whether a job ran, and how it ended, is the
    /// client's concern. Raises "no incomplete file.", and "eof" when the metadata doesn't fit.
    void finish();

private:
    void recoverStream(Quillon::DriveFile &file, uint32_t index, std::vector<FileRecord> &list);

    const LibraryAccess &library_;
    PortTable &ports_;
    Catalogue &catalogue_;
    boost::shared_ptr<Quillon::Recovery> recovery_;    ///< empty when no job is known
    RecoveryStatus lastStatus_ = RecoveryStatus::None; ///< of the last job, as clients see it
    std::string recoveryErrorText_;
    uint32_t incompleteFileId_ = 0; ///< taken in hand by the last start()
};

} // namespace tavu
