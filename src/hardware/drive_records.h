#pragma once

#include "hardware/library_access.h"
#include "records/config_record.h"

#include <cstdint>
#include <string>

namespace tavu {

// The records that a device keeps in named files of its drive set.

/// Blocks of at most this many bytes stand inside other records; larger ones have a file.
inline constexpr uint32_t kInlineBlockLimit = 16384;

/// How large a record file has to be: as many steps on top of the first size as it takes, each
/// rounded up to whole stripes. In bytes. With a step of 0 it never grows: what needs more raises
/// "eof" before anything is done.
struct DriveFileSize
{
    uint64_t initial;
    uint64_t needed;
    uint64_t step;
};

/// Finds or makes the named file, and opens it to be written from its start.
boost::shared_ptr<Quillon::DriveFile>
ensureDriveFile(const LibraryAccess &library, const std::string &name, const DriveFileSize &size);

/// The block of a port's pairing.
void writePairRecord(const LibraryAccess &library, const PortConfig &port);
void readPairRecord(const LibraryAccess &library, PortConfig &port);

/// The identity block of a recording.
void writeInfoRecord(const LibraryAccess &library, uint32_t fileId, uint32_t streamId,
                     const ByteBlock &block);
void readInfoRecord(const LibraryAccess &library, uint32_t fileId, uint32_t streamId,
                    ByteBlock &block);

} // namespace tavu
