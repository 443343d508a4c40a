#include "records/meta_record.h"

#include "encoding/counting_stream.h"
#include "encoding/mem_stream.h"
#include "platform/clock.h"
#include "records/record_fields.h"

#include <algorithm>
#include <utility>

namespace tavu {

namespace {

constexpr RecordKind kMetaRecord = {"meta", "info", "Invalid file metadata."};

constexpr RecordField<FileRecord> kFields[] = {
    field<&FileRecord::name>("name"),
    field<&FileRecord::port>("port"),
    field<&FileRecord::camera>("camera"),
    field<&FileRecord::fileId>("fileId"),
    field<&FileRecord::streamId>("streamId"),
    field<&FileRecord::width>("width"),
    field<&FileRecord::height>("height"),
    field<&FileRecord::numFrames>("numFrames"),
    field<&FileRecord::numDroppedFrames>("numDroppedFrames"),
    field<&FileRecord::size>("size"),
    field<&FileRecord::timestamp>("timestamp"),
    field<&FileRecord::startTime>("startTime"),
    field<&FileRecord::endTime>("endTime"),
    field<&FileRecord::duration>("duration"),
    field<&FileRecord::info>("info"),
};

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
        writeFields(writer, kFields, record, !record.info.empty());
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
    uint32_t files = reader.readArrayHeader();
    // Room is memory only once it is used.
    target.reserve(std::min<size_t>(files, kMostMetaRecords));
    for (; files > 0; --files) {
        FileRecord record;
        readFields(reader, kFields, record, reader.readMapHeader());
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
