#pragma once

#include "encoding/bytes.h"
#include "encoding/object_value.h"
#include "encoding/windowed_stream.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace tavu {

/// Encodes MessagePack (the published format) onto a Stream, always in the shortest form. Nothing
/// is buffered: each head is one write of the stream, each body a second one, unless the stream has
/// memory in which they can be put. The stream must outlive the writer. The stream's count is not
/// looked at; what the stream raises passes through.
class MessageWriter
{
public:
    explicit MessageWriter(Stream &stream) : MessageWriter(stream, WindowedStream::of(stream)) {}
    explicit MessageWriter(WindowedStream &stream) : MessageWriter(stream, &stream.window()) {}
    MessageWriter(const MessageWriter &) = delete;
    MessageWriter &operator=(const MessageWriter &) = delete;

    void writeNil();
    void writeBool(bool value);
    void writeInt(int64_t value);
    void writeUint(uint64_t value)
    {
        if (window_.left() > kMostHeadBytes)
            window_.at = putUint(window_.at, value);
        else
            writeUintApart(value);
    }
    void writeFloat(float value);
    void writeDouble(double value);
    /// A length of all ones means NUL-terminated text.
    void writeString(const char *text, uint64_t length = ~uint64_t(0))
    {
        if (length == ~uint64_t(0))
            length = std::strlen(text);
        // Into memory with room for it, both writes are one.
        if (length < 32 && window_.left() > 1 + length) {
            window_.at[0] = static_cast<unsigned char>(0xA0 | length);
            copyBytes(window_.at + 1, text, length);
            window_.at += 1 + length;
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
    MessageWriter(Stream &stream, Window *window)
        : stream_(stream), window_(window ? *window : noWindow_)
    {
    }

    template <typename Number>
    static unsigned char *putHead(unsigned char *target, uint8_t lead, Number number)
    {
        target[0] = lead;
        storeBigEndian(target + 1, number);
        return target + 1 + sizeof number;
    }
    static unsigned char *putUint(unsigned char *target, uint64_t value)
    {
        if (value < 0x80) {
            *target = static_cast<unsigned char>(value);
            return target + 1;
        }
        if (value <= 0xFF)
            return putHead(target, kUnsignedLead, static_cast<uint8_t>(value));
        if (value <= 0xFFFF)
            return putHead(target, kUnsignedLead + 1, static_cast<uint16_t>(value));
        if (value <= 0xFFFFFFFF)
            return putHead(target, kUnsignedLead + 2, static_cast<uint32_t>(value));
        return putHead(target, kUnsignedLead + 3, value);
    }

    static constexpr uint64_t kMostHeadBytes = 9;
    static constexpr uint8_t kUnsignedLead = 0xCC; // of the narrowest form

    template <typename Assemble>
    void writeAssembled(uint64_t size, Assemble &&assemble);
    template <typename Number>
    void writeHead(uint8_t lead, Number number);
    void writeLead(uint8_t lead);
    void writeUintApart(uint64_t value);
    void writeLongString(const char *text, uint64_t length);
    void writeLeaf(const ObjectValue &value);
    static bool putLeaf(Window &window, const ObjectValue &value);

    Stream &stream_;
    Window &window_; // of the same stream
    Window noWindow_;
};

} // namespace tavu
