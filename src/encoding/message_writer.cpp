#include "encoding/message_writer.h"

#include <bit>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tavu {

namespace {

/// A head in the making: the lead byte and what follows it, big-endian.
class Head
{
public:
    explicit Head(uint8_t lead) { bytes_[0] = lead; }

    Head &&append(uint64_t value, uint32_t byteCount) &&
    {
        for (uint32_t i = byteCount; i > 0; --i)
            bytes_[size_++] = static_cast<uint8_t>(value >> (8 * (i - 1)));
        return std::move(*this);
    }
    void writeTo(Stream &stream) const { stream.write(bytes_, size_); }

private:
    uint8_t bytes_[12];
    uint32_t size_ = 1;
};

} // namespace

void MessageWriter::writeNil()
{
    Head(0xC0).writeTo(stream_);
}

void MessageWriter::writeBool(bool value)
{
    Head(value ? 0xC3 : 0xC2).writeTo(stream_);
}

void MessageWriter::writeInt(int64_t value)
{
    const auto bits = static_cast<uint64_t>(value);
    if (value >= 0)
        writeUint(bits);
    else if (value >= -32)
        Head(static_cast<uint8_t>(bits)).writeTo(stream_);
    else if (value >= INT8_MIN)
        Head(0xD0).append(bits, 1).writeTo(stream_);
    else if (value >= INT16_MIN)
        Head(0xD1).append(bits, 2).writeTo(stream_);
    else if (value >= INT32_MIN)
        Head(0xD2).append(bits, 4).writeTo(stream_);
    else
        Head(0xD3).append(bits, 8).writeTo(stream_);
}

void MessageWriter::writeUint(uint64_t value)
{
    if (value < 0x80)
        Head(static_cast<uint8_t>(value)).writeTo(stream_);
    else if (value <= 0xFF)
        Head(0xCC).append(value, 1).writeTo(stream_);
    else if (value <= 0xFFFF)
        Head(0xCD).append(value, 2).writeTo(stream_);
    else if (value <= 0xFFFFFFFF)
        Head(0xCE).append(value, 4).writeTo(stream_);
    else
        Head(0xCF).append(value, 8).writeTo(stream_);
}

void MessageWriter::writeFloat(float value)
{
    Head(0xCA).append(std::bit_cast<uint32_t>(value), 4).writeTo(stream_);
}

void MessageWriter::writeDouble(double value)
{
    Head(0xCB).append(std::bit_cast<uint64_t>(value), 8).writeTo(stream_);
}

void MessageWriter::writeString(const char *text, uint64_t length)
{
    if (length == ~uint64_t(0))
        length = std::strlen(text);
    if (length < 32)
        Head(static_cast<uint8_t>(0xA0 | length)).writeTo(stream_);
    else if (length <= 0xFF)
        Head(0xD9).append(length, 1).writeTo(stream_);
    else if (length <= 0xFFFF)
        Head(0xDA).append(length, 2).writeTo(stream_);
    else
        Head(0xDB).append(length & 0xFFFFFFFF, 4).writeTo(stream_);
    stream_.write(text, length);
}

void MessageWriter::writeString(const std::string &text)
{
    writeString(text.data(), text.size());
}

void MessageWriter::writeBlob(const void *bytes, uint32_t size)
{
    if (size <= 0xFF)
        Head(0xC4).append(size, 1).writeTo(stream_);
    else if (size <= 0xFFFF)
        Head(0xC5).append(size, 2).writeTo(stream_);
    else
        Head(0xC6).append(size, 4).writeTo(stream_);
    stream_.write(bytes, size);
}

void MessageWriter::writeExt(uint8_t type, const void *bytes, uint64_t size)
{
    const auto length = static_cast<uint32_t>(size);
    if (length > 0 && length <= 16 && std::has_single_bit(length))
        Head(static_cast<uint8_t>(0xD4 + std::countr_zero(length)))
            .append(type, 1)
            .writeTo(stream_);
    else if (length <= 0xFF)
        Head(0xC7).append(length, 1).append(type, 1).writeTo(stream_);
    else if (length <= 0xFFFF)
        Head(0xC8).append(length, 2).append(type, 1).writeTo(stream_);
    else
        Head(0xC9).append(length, 4).append(type, 1).writeTo(stream_);
    stream_.write(bytes, length);
}

void MessageWriter::writeArrayHeader(uint32_t count)
{
    if (count <= 15)
        Head(static_cast<uint8_t>(0x90 | count)).writeTo(stream_);
    else
        Head(0xDC).append(count, count <= 0xFFFF ? 2 : 4).writeTo(stream_);
}

void MessageWriter::writeMapHeader(uint32_t pairCount)
{
    if (pairCount <= 15)
        Head(static_cast<uint8_t>(0x80 | pairCount)).writeTo(stream_);
    else if (pairCount <= 0xFFFF)
        Head(0xDE).append(pairCount, 2).writeTo(stream_);
    else
        Head(0xDF).append(pairCount, 4).writeTo(stream_);
}

/// Writes one value, of a container only the head.
void MessageWriter::writeShallow(const ObjectValue &value)
{
    switch (value.tag_) {
    case ObjectType::Nil:
        return writeNil();
    case ObjectType::NegativeInteger:
        return writeInt(value.held_.negative);
    case ObjectType::PositiveInteger:
        return writeUint(value.held_.positive);
    case ObjectType::String:
        return writeString(value.text(), value.size_);
    case ObjectType::Bool:
        return writeBool(value.held_.boolean);
    case ObjectType::Float:
        return writeDouble(value.held_.number);
    case ObjectType::Blob:
        return writeBlob(value.held_.bytes, value.size_);
    case ObjectType::Map:
        return writeMapHeader(value.size_);
    case ObjectType::Array:
        return writeArrayHeader(value.size_);
    }
    // In lower case: the reader has a text of its own for a type that it doesn't know.
    throw std::runtime_error("unrecognized object type.");
}

void MessageWriter::writeObject(const ObjectValue &value)
{
    writeShallow(value);
    if (!value.isContainer())
        return;
    // The containers that are open: the next value of each, and its end.
    std::vector<std::pair<const ObjectValue *, const ObjectValue *>> open;
    open.emplace_back(value.slots(), value.slots() + value.slotCount());
    while (!open.empty()) {
        auto &[next, end] = open.back();
        if (next == end) {
            open.pop_back();
            continue;
        }
        const ObjectValue &child = *next++;
        writeShallow(child);
        if (child.isContainer())
            open.emplace_back(child.slots(), child.slots() + child.slotCount());
    }
}

void MessageWriter::writeRaw(const void *bytes, uint64_t size)
{
    stream_.write(bytes, size);
}

} // namespace tavu
