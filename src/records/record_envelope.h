#pragma once

#include "encoding/message_reader.h"
#include "encoding/message_writer.h"
#include "registry/file_record.h"

namespace tavu {

/// What one kind of record has in its envelope.
struct RecordKind
{
    const char *type;       ///< value of the signature's "type"
    const char *payloadKey; ///< key of the fourth pair
    const char *faultText;  ///< what a reader raises for a bad signature
};

/// Writes the signature and the payload's key; the caller writes the payload behind it.
void writeEnvelope(MessageWriter &writer, const RecordKind &kind);

/// Reads up to the payload. The signature must stand first and in its order; other pairs between it
/// and the payload are passed over, pairs behind the payload are never read.
void readEnvelope(MessageReader &reader, const RecordKind &kind);

/// Reads a blob into \a target. An announced length costs no memory before its bytes arrive.
void readBlock(MessageReader &reader, ByteBlock &target);

} // namespace tavu
