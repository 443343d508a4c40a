#include "records/meta_record.h"

#include "encoding/counting_stream.h"
#include "encoding/mem_stream.h"
#include "platform/clock.h"
#include "records/record_envelope.h"

#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tavu {

namespace {

constexpr RecordKind kMetaRecord = {"meta", "info", "Invalid file metadata."};

/// One pair of a file's map.
struct Field
{
    std::string_view key;
    void (*write)(MessageWriter &writer, const FileRecord &record);
    void (*read)(MessageReader &reader, FileRecord &record);
};

template <std::string FileRecord::*member>
constexpr Field text(std::string_view key)
{
    return {key,
            [](MessageWriter &writer, const FileRecord &file) { writer.writeString(file.*member); },
            [](MessageReader &reader, FileRecord &file) { reader.readString(file.*member); }};
}

template <auto member>
constexpr Field number(std::string_view key)
{
    return {key,
            [](MessageWriter &writer, const FileRecord &file) { writer.writeUint(file.*member); },
            [](MessageReader &reader, FileRecord &file) {
                using Value = std::remove_reference_t<decltype(file.*member)>;
                file.*member = static_cast<Value>(reader.readPosInt());
            }};
}

void writeInfo(MessageWriter &writer, const FileRecord &file)
{
    writer.writeBlob(file.info.data(), static_cast<uint32_t>(file.info.size()));
}

void readInfo(MessageReader &reader, FileRecord &file)
{
    readBlock(reader, file.info);
}

// In the order in which they are written; the last one only when the file has a block.
constexpr Field kFields[] = {
    text<&FileRecord::name>("name"),
    text<&FileRecord::port>("port"),
    text<&FileRecord::camera>("camera"),
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
    {"info", writeInfo, readInfo},
};
constexpr size_t kFieldCount = std::size(kFields);

void writeFile(MessageWriter &writer, const FileRecord &file)
{
    const size_t pairs = file.info.empty() ? kFieldCount - 1 : kFieldCount;
    writer.writeMapHeader(static_cast<uint32_t>(pairs));
    for (size_t i = 0; i < pairs; ++i) {
        writer.writeString(kFields[i].key.data(), kFields[i].key.size());
        kFields[i].write(writer, file);
    }
}

/// Finds a field by its key. Looks first behind the one found before: keys mostly come in order.
const Field *findField(std::string_view key, size_t &next)
{
    for (size_t i = 0; i < kFieldCount; ++i) {
        const Field &field = kFields[(next + i) % kFieldCount];
        if (field.key == key) {
            next += i + 1;
            return &field;
        }
    }
    return nullptr;
}

void readFile(MessageReader &reader, FileRecord &file, std::string &key)
{
    size_t next = 0;
    for (uint32_t pairs = reader.readMapHeader(); pairs > 0; --pairs) {
        reader.readString(key);
        if (const Field *field = findField(key, next))
            field->read(reader, file);
        else
            reader.skipValue();
    }
}

bool isUsable(const FileRecord &record)
{
    return !record.name.empty() && record.width && record.height && record.numFrames;
}

} // namespace

uint64_t impliedSize(const FileRecord &record)
{
    const auto area = static_cast<int32_t>(uint32_t(record.width) * uint32_t(record.height));
    return static_cast<uint64_t>(int64_t(area)) * record.numFrames * 2;
}

void writeMetaList(std::span<const FileRecord> list, Stream &stream)
{
    MessageWriter writer(stream);
    writeEnvelope(writer, kMetaRecord);
    writer.writeArrayHeader(static_cast<uint32_t>(list.size()));
    for (const FileRecord &record : list)
        writeFile(writer, record);
}

bool metaListFits(std::span<const FileRecord> list, uint64_t size)
{
    CountingStream stream;
    writeMetaList(list, stream);
    return stream.count() <= size && list.size() <= kMostMetaRecords;
}

void writeMetaList(std::span<const FileRecord> list, void *data, uint64_t size)
{
    if (!metaListFits(list, size))
        MemStream::throwEnd();
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
        readFile(reader, record, key);
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
