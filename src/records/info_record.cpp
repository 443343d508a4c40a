#include "records/info_record.h"

#include "records/record_envelope.h"

#include <utility>

namespace tavu {

namespace {

constexpr RecordKind kInfoRecord = {"info", "info", "Inalid info file."};

} // namespace

std::string infoRecordName(uint32_t fileId, uint32_t streamId)
{
    return std::to_string(fileId) + "-" + std::to_string(streamId) + ".info";
}

void writeBlockRecord(Stream &stream, std::span<const uint8_t> block)
{
    MessageWriter writer(stream);
    writeEnvelope(writer, kInfoRecord);
    writer.writeBlob(block.data(), static_cast<uint32_t>(block.size()));
}

void readBlockRecord(Stream &stream, ByteBlock &block)
{
    MessageReader reader(stream);
    readEnvelope(reader, kInfoRecord);
    ByteBlock read;
    readBlock(reader, read);
    block = std::move(read);
}

} // namespace tavu
