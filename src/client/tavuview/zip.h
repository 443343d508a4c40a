#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tavu::view {

/// Makes a zip archive piece by piece. Files are stored as they are: pictures are compressed
/// already. By PKWARE's published description of the format, with its 64-bit forms where they are
/// needed.
class ZipWriter
{
public:
    /// The bytes with which a file begins; \a content follows it in the archive. At most 4 GB.
    std::vector<uint8_t> begin(const std::string &name, std::span<const uint8_t> content);
    /// The bytes at the archive's end.
    std::vector<uint8_t> finish();

private:
    struct Entry
    {
        std::string name;
        uint32_t crc;
        uint32_t size;
        uint64_t offset;
    };

    std::vector<Entry> entries_;
    uint64_t offset_ = 0;
};

} // namespace tavu::view
