#pragma once

#include "hardware/open_files.h"
#include "hardware/port_table.h"
#include "registry/file_record.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace tavu {

/// The recordings on a device's drives, as the metadata blocks of the drive files tell them. The
/// drive files hold the truth, and the list in memory follows them. Wants the device's mutex.
class Catalogue
{
public:
    Catalogue(const LibraryAccess &library, const OpenFiles &openFiles)
        : library_(library), openFiles_(openFiles)
    {
    }

    const std::vector<FileRecord> &list() const { return list_; }
    void clear() { list_.clear(); }
    /// Reads the list anew. The first file that can't be read ends that; the list then holds the
    /// files before it.
    void scan();

    void removeFile(uint32_t fileId, uint32_t streamId);
    void fileIdentity(uint32_t fileId, uint32_t streamId, ByteBlock &data) const;
    /// Changes one entry, in the drive file and in the list; raises "File not found."
    void edit(uint32_t fileId, uint32_t streamId, const std::function<void(FileRecord &)> &change);

    /// Adds a new recording to the list. Its drive file gets it with storeMetaList().
    void add(const FileRecord &record) { list_.push_back(record); }
    /// Writes the record of a new drive file. Blocks that it has no room for get files of their
    /// own, the largest first. Where there is no room even so, the record becomes an empty one,
    /// which scans can read, and the list forgets the file; the result is false then.
    bool storeMetaList(Quillon::DriveFile &file, uint32_t fileId, std::vector<FileRecord> list);

private:
    std::vector<FileRecord> readMetadata(Quillon::DriveSet &set, uint32_t fileId) const;

    const LibraryAccess &library_;
    const OpenFiles &openFiles_;
    std::vector<FileRecord> list_;
};

/// An entry for what a port recorded, without a camera's name.
FileRecord newFileRecord(const PortConfig &port, uint32_t fileId, uint32_t streamId,
                         uint64_t numFrames, uint64_t timestamp);

} // namespace tavu
