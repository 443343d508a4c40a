#pragma once

#include "encoding/bytes.h"
#include "encoding/mem_stream.h"
#include "encoding/object_value.h"
#include "encoding/stream.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace tavu {

/// Encodes MessagePack (the published format) onto a Stream, always in the shortest form. Nothing
/// is buffered: each head is one write of the stream, each body a second one. The stream must
/// outlive the writer. The stream's count is not looked at; what the stream raises passes through.
class MessageWriter
{
public:
    explicit MessageWriter(Stream &stream) : stream_(stream), memory_(MemStream::from(stream)) {}

    void writeNil();
    void writeBool(bool value);
    void writeInt(int64_t value);
    void writeUint(uint64_t value);
    void writeFloat(float value);
    void writeDouble(double value);
    /// A length of all ones means NUL-terminated text.
    void writeString(const char *text, uint64_t length = ~uint64_t(0))
    {
        if (length == ~uint64_t(0))
            length = std::strlen(text);
        // Into memory with room for it, both writes are one.
        if (length < 32 && memory_ && memory_->remaining() > 1 + length) {
            memory_->position()[0] = static_cast<unsigned char>(0xA0 | length);
            copyBytes(memory_->position() + 1, text, length);
            memory_->advance(1 + length);
        } else {
            writeLongString(text, length);
        }
    }
    void writeString(const std::string &text) { writeString(text.data(), text.size()); }
    void writeBlob(const void *bytes, uint32_t size);
    /// Only the low 32 bits of \a size count. MessageReader refuses every ext.
    void writeExt(uint8_t type, const void *bytes, uint64_t size);
    /// Above 65535 the head is 0xDC with four length bytes: this system's one deviation.
    void writeArrayHeader(uint32_t count);
    void writeMapHeader(uint32_t pairCount);
    /// The whole tree. Raises std::runtime_error on a tag that there isn't.
    void writeObject(const ObjectValue &value);
    /// The bytes as they are, with no head.
    void writeRaw(const void *bytes, uint64_t size);

private:
    template <typename Assemble>
    void writeAssembled(uint64_t size, Assemble &&assemble);
    template <typename Number>
    void writeHead(uint8_t lead, Number number);
    void writeLead(uint8_t lead);
    void writeLongString(const char *text, uint64_t length);
    void writeLeaf(const ObjectValue &value);

    Stream &stream_;
    MemStream *memory_; // the same stream, if its bytes can be had in place
};

} // namespace tavu
