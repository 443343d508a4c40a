#include "client/tavuview/zip.h"

#include <zlib.h>

#include <utility>

namespace tavu::view {

namespace {

constexpr uint16_t kVersion = 45; ///< the first that knows 64-bit sizes
constexpr uint16_t kUtf8 = 1 << 11;
constexpr uint16_t kStored = 0;
/// Midnight of 1980-01-01, the first date that the format knows: pictures have none of their own.
constexpr uint32_t kTime = 0x00210000;

/// Little-endian numbers, one after another.
class Fields
{
public:
    Fields &u16(uint64_t value) { return add(value, 2); }
    Fields &u32(uint64_t value) { return add(value, 4); }
    Fields &u64(uint64_t value) { return add(value, 8); }
    Fields &text(const std::string &text)
    {
        bytes_.insert(bytes_.end(), text.begin(), text.end());
        return *this;
    }
    std::vector<uint8_t> take() { return std::move(bytes_); }
    size_t size() const { return bytes_.size(); }

private:
    Fields &add(uint64_t value, unsigned bytes)
    {
        for (unsigned i = 0; i < bytes; ++i)
            bytes_.push_back(static_cast<uint8_t>(value >> (8 * i)));
        return *this;
    }

    std::vector<uint8_t> bytes_;
};

} // namespace

std::vector<uint8_t> ZipWriter::begin(const std::string &name, std::span<const uint8_t> content)
{
    const auto size = static_cast<uint32_t>(content.size());
    const auto crc = static_cast<uint32_t>(::crc32_z(0, content.data(), content.size()));
    entries_.push_back({name, crc, size, offset_});
    Fields head;
    head.u32(0x04034B50).u16(kVersion).u16(kUtf8).u16(kStored).u32(kTime);
    head.u32(crc).u32(size).u32(size).u16(name.size()).u16(0).text(name);
    offset_ += head.size() + size;
    return head.take();
}

std::vector<uint8_t> ZipWriter::finish()
{
    Fields list;
    for (const Entry &entry : entries_) {
        list.u32(0x02014B50).u16(kVersion).u16(kVersion).u16(kUtf8).u16(kStored).u32(kTime);
        list.u32(entry.crc).u32(entry.size).u32(entry.size).u16(entry.name.size());
        // The offset stands in the extra field, always: one form for small and large archives.
        list.u16(12).u16(0).u16(0).u16(0).u32(0).u32(0xFFFFFFFF).text(entry.name);
        list.u16(1).u16(8).u64(entry.offset);
    }
    const uint64_t listSize = list.size();
    const uint64_t count = entries_.size();
    list.u32(0x06064B50).u64(44).u16(kVersion).u16(kVersion).u32(0).u32(0);
    list.u64(count).u64(count).u64(listSize).u64(offset_);
    list.u32(0x07064B50).u32(0).u64(offset_ + listSize).u32(1);
    list.u32(0x06054B50).u16(0).u16(0).u16(0xFFFF).u16(0xFFFF);
    list.u32(0xFFFFFFFF).u32(0xFFFFFFFF).u16(0);
    return list.take();
}

} // namespace tavu::view
