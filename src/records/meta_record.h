#pragma once

#include "encoding/stream.h"
#include "registry/file_record.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tavu {

/// The longest list that can be read back.
inline constexpr size_t kMostMetaRecords = 65535;

/// Writes one file metadata record that holds \a list.
void writeMetaList(std::span<const FileRecord> list, Stream &stream);
/// The same into memory of the caller's. Raises std::runtime_error "eof" when the record doesn't
/// fit; the memory is then as it was.
void writeMetaList(std::span<const FileRecord> list, void *data, uint64_t size);

/// Whether the record of \a list fits in \a size bytes, and can be read back.
bool metaListFits(std::span<const FileRecord> list, uint64_t size);

/// Bytes of all frames. A frame's pixels are counted in a signed 32-bit number, as they always were
/// in these records, and turn negative from 2^31 on.
uint64_t impliedSize(const FileRecord &record);

/// Empties \a target and appends the usable entries of one file metadata record: those with a name,
/// a geometry and frames. A missing size is computed, a missing time stamp becomes the present
/// time. Raises std::runtime_error: "Invalid file metadata." or the reader's text; \a target then
/// holds the entries before the fault.
void readMetaList(std::vector<FileRecord> &target, Stream &stream);
/// The same from memory.
void readMetaList(std::vector<FileRecord> &target, const void *data, uint64_t size);

} // namespace tavu
