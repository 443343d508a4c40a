#pragma once

#include "storage/stripe_allocator.h"

#include <cstdint>
#include <string>
#include <utility>

namespace simulator {

/// What one port recorded.
struct StreamRecord
{
    uint32_t id = 0;
    std::string portName;
    uint32_t port = 0;   ///< from 1
    uint32_t width = 0;  ///< pixels
    uint32_t height = 0; ///< pixels
    uint64_t frames = 0; ///< counted while recording, stored when closed
    bool closed = false; ///< the recording came to an orderly end, or was repaired
    Extents extents;
};

/// A file of a drive set, as its description tells.
struct FileRecord
{
    uint32_t id = 0;
    std::string name;           ///< empty for a recording
    uint64_t created = 0;       ///< in 100 ns units since 1601
    uint64_t writtenBlocks = 0; ///< of a named file, from its beginning
    Extents extents;            ///< of a named file
    std::vector<StreamRecord> streams;

    uint64_t stripes() const;
    /// Raises Common::GeneralException when there is no such stream.
    const StreamRecord &stream(uint32_t streamId) const;
    StreamRecord &stream(uint32_t streamId)
    {
        return const_cast<StreamRecord &>(std::as_const(*this).stream(streamId));
    }
};

std::string formatFileRecord(const FileRecord &record);
/// Raises Common::GeneralException.
FileRecord parseFileRecord(const std::string &text);

/// What a drive set is made of.
struct SetRecord
{
    std::string name;
    uint32_t clusterBytes = 0;  ///< on one drive
    uint32_t metadataBytes = 0; ///< of a file's metadata block
    uint64_t driveBytes = 0;
    std::vector<uint32_t> drives; ///< physical indices, from 0
    uint32_t nextFileId = 1;
};

std::string formatSetRecord(const SetRecord &record);
/// Raises Common::GeneralException.
SetRecord parseSetRecord(const std::string &text);

} // namespace simulator
