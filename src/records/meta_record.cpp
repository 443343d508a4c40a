#include "records/meta_record.h"

#include "encoding/mem_stream.h"
#include "platform/clock.h"
#include "records/record_envelope.h"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>

namespace tavu {

namespace {

constexpr RecordKind kMetaRecord = {"meta", "info", "Invalid file metadata."};
constexpr const char *kBlockKey = "info";

struct TextField
{
    const char *key;
    std::string FileRecord::*member;
};

struct NumberField
{
    const char *key;
    uint64_t (*get)(const FileRecord &record);
    void (*set)(FileRecord &record, uint64_t value);
};

template <auto member>
constexpr NumberField number(const char *key)
{
    return {key, [](const FileRecord &record) -> uint64_t { return record.*member; },
            [](FileRecord &record, uint64_t value) {
                using Field = std::remove_reference_t<decltype(record.*member)>;
                record.*member = static_cast<Field>(value);
            }};
}

// In the order in which they are written.
constexpr TextField kTextFields[] = {
    {"name", &FileRecord::name},
    {"port", &FileRecord::port},
    {"camera", &FileRecord::camera},
};
constexpr NumberField kNumberFields[] = {
    number<&FileRecord::fileId>("fileId"),
    number<&FileRecord::streamId>("streamId"),
    number<&FileRecord::width>("width"),
    number<&FileRecord::height>("height"),
    number<&FileRecord::numFrames>("numFrames"),
    number<&FileRecord::numDroppedFrames>("numDroppedFrames"),
    number<&FileRecord::size>("size"),
    number<&FileRecord::timestamp>("timestamp"),
    number<&FileRecord::startTime>("startTime"),
    number<&FileRecord::endTime>("endTime"),
    number<&FileRecord::duration>("duration"),
};
constexpr uint32_t kPlainPairs = std::size(kTextFields) + std::size(kNumberFields);

void writeFile(MessageWriter &writer, const FileRecord &record)
{
    const bool hasBlock = !record.info.empty();
    writer.writeMapHeader(kPlainPairs + hasBlock);
    for (const TextField &field : kTextFields) {
        writer.writeString(field.key);
        writer.writeString(record.*field.member);
    }
    for (const NumberField &field : kNumberFields) {
        writer.writeString(field.key);
        writer.writeUint(field.get(record));
    }
    if (hasBlock) {
        writer.writeString(kBlockKey);
        writer.writeBlob(record.info.data(), static_cast<uint32_t>(record.info.size()));
    }
}

void readValue(MessageReader &reader, const std::string &key, FileRecord &record)
{
    const auto hasKey = [&](const auto &field) { return key == field.key; };
    if (const auto text = std::find_if(std::begin(kTextFields), std::end(kTextFields), hasKey);
        text != std::end(kTextFields))
        reader.readString(record.*text->member);
    else if (const auto found =
                 std::find_if(std::begin(kNumberFields), std::end(kNumberFields), hasKey);
             found != std::end(kNumberFields))
        found->set(record, reader.readPosInt());
    else if (key == kBlockKey)
        readBlock(reader, record.info);
    else
        reader.skipValue();
}

/// The byte count that a record without one gets: the area is a signed 32-bit number, as it always
/// was in these records, so that one above 2^31 pixels turns negative.
uint64_t impliedSize(const FileRecord &record)
{
    const auto area = static_cast<int32_t>(uint32_t(record.width) * uint32_t(record.height));
    return static_cast<uint64_t>(int64_t(area)) * record.numFrames * 2;
}

bool isUsable(const FileRecord &record)
{
    return !record.name.empty() && record.width && record.height && record.numFrames;
}

} // namespace

void writeMetaList(std::span<const FileRecord> list, Stream &stream)
{
    MessageWriter writer(stream);
    writeEnvelope(writer, kMetaRecord);
    writer.writeArrayHeader(static_cast<uint32_t>(list.size()));
    for (const FileRecord &record : list)
        writeFile(writer, record);
}

void writeMetaList(std::span<const FileRecord> list, void *data, uint64_t size)
{
    MemStream stream(data, size);
    writeMetaList(list, stream);
}

void readMetaList(std::vector<FileRecord> &target, Stream &stream)
{
    target.clear();
    MessageReader reader(stream);
    readEnvelope(reader, kMetaRecord);
    std::string key;
    for (uint32_t files = reader.readArrayHeader(); files > 0; --files) {
        FileRecord record;
        for (uint32_t pairs = reader.readMapHeader(); pairs > 0; --pairs) {
            reader.readString(key);
            readValue(reader, key, record);
        }
        if (record.size == 0)
            record.size = impliedSize(record);
        if (record.timestamp == 0)
            record.timestamp = utcTimestamp();
        if (isUsable(record))
            target.push_back(std::move(record));
    }
}

void readMetaList(std::vector<FileRecord> &target, const void *data, uint64_t size)
{
    // A MemStream serves both directions; reading leaves the bytes alone.
    MemStream stream(const_cast<void *>(data), size);
    readMetaList(target, stream);
}

} // namespace tavu
