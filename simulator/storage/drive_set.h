#pragma once

#include "hardware/library/storage.h"
#include "storage/file_table.h"

#include <cstdint>
#include <memory>

namespace simulator {

class Recorder;

/// A handle of a drive set.
class DriveSet final : public Quillon::DriveSet
{
public:
    DriveSet(Recorder &recorder, std::shared_ptr<FileTable> table);
    virtual ~DriveSet() = default;

    boost::shared_ptr<Info> info() override;
    boost::shared_ptr<Quillon::DriveFile> openFile(uint32_t fileId) override;
    Quillon::Vector<uint32_t> fileIds() override;
    uint32_t findFile(const Quillon::String &name) override;
    uint32_t incompleteFileId() override;
    boost::shared_ptr<Quillon::DriveFileEntry> fileEntry(uint32_t fileId) override;
    uint32_t createFile(const Quillon::String &name, uint64_t sizeClusters,
                        uint64_t timestamp) override;
    void removeFile(uint32_t fileId) override;
    boost::shared_ptr<Quillon::Recovery> recover(uint32_t fileId) override;
    boost::shared_ptr<CapacityInfo> capacityInfo(bool flag) override;
    Quillon::Vector<boost::shared_ptr<Quillon::Drive>> drives() override;

    /// The recorder that it belongs to.
    const Recorder &recorder() const { return recorder_; }
    const std::shared_ptr<FileTable> &table() const { return table_; }

private:
    Recorder &recorder_;
    const std::shared_ptr<FileTable> table_;
};

} // namespace simulator
