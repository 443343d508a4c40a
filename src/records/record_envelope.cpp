#include "records/record_envelope.h"

#include <stdexcept>
#include <string>

namespace tavu {

namespace {

constexpr uint32_t kEnvelopePairs = 4;
constexpr uint32_t kSignaturePairs = 3;
constexpr uint64_t kVersion = 0;

bool nextStringIs(MessageReader &reader, std::string &scratch, const char *expected)
{
    reader.readString(scratch);
    return scratch == expected;
}

bool readSignature(MessageReader &reader, const char *type)
{
    std::string text;
    return nextStringIs(reader, text, "orek") && reader.readBool() &&
           nextStringIs(reader, text, "type") && nextStringIs(reader, text, type) &&
           nextStringIs(reader, text, "version") && reader.readPosInt() == kVersion;
}

} // namespace

void writeEnvelope(MessageWriter &writer, const RecordKind &kind)
{
    writer.writeMapHeader(kEnvelopePairs);
    writer.writeString("orek");
    writer.writeBool(true);
    writer.writeString("type");
    writer.writeString(kind.type);
    writer.writeString("version");
    writer.writeUint(kVersion);
    writer.writeString(kind.payloadKey);
}

void readEnvelope(MessageReader &reader, const RecordKind &kind)
{
    const uint32_t pairs = reader.readMapHeader();
    if (pairs < kEnvelopePairs || !readSignature(reader, kind.type))
        throw std::runtime_error(kind.faultText);
    uint32_t remaining = pairs - kSignaturePairs;
    reader.findField(remaining, kind.payloadKey);
}

void readBlock(MessageReader &reader, ByteBlock &target)
{
    // Into raw memory first: a vector would clear, and so use, all that a broken head announces.
    const uint32_t size = reader.readBlobHeader();
    const OwnedBlob bytes = ObjectValue::allocateBlob(size);
    reader.readBlobBody(bytes.get(), size);
    target.assign(bytes.get(), bytes.get() + size);
}

} // namespace tavu
