#pragma once

#include "encoding/stream.h"
#include "registry/file_record.h"

#include <cstdint>
#include <span>
#include <string>

namespace tavu {

/// Name of the drive file that holds a recording's identity block.
std::string infoRecordName(uint32_t fileId, uint32_t streamId);

/// Writes the record of a block that is too large for the other records: a port's pairing block or
/// a recording's identity block.
void writeBlockRecord(Stream &stream, std::span<const uint8_t> block);

/// Reads one such record. Raises std::runtime_error: "Inalid info file." or the reader's text;
/// \a block is then as it was.
void readBlockRecord(Stream &stream, ByteBlock &block);

} // namespace tavu
