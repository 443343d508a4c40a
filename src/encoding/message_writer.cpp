#include "encoding/message_writer.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <vector>

namespace tavu {

namespace {

// Lead bytes; where a form comes in several widths, that of the narrowest.
enum Lead : uint8_t
{
    kFixMap = 0x80,
    kFixArray = 0x90,
    kFixString = 0xA0,
    kNil = 0xC0,
    kFalse = 0xC2,
    kTrue = 0xC3,
    kBlob = 0xC4,
    kExt = 0xC7,
    kFloat = 0xCA,
    kDouble = 0xCB,
    kSigned = 0xD0,
    kFixExt = 0xD4,
    kString = 0xD9,
    kArray = 0xDC,
    kMap = 0xDE,
};

} // namespace

void MessageWriter::writeRaw(const void *bytes, uint64_t size)
{
    stream_.write(bytes, size);
}

// Into memory a head goes straight, unless it's the last that fits: that is for the stream to
// judge.
template <typename Assemble>
inline void MessageWriter::writeAssembled(uint64_t size, Assemble &&assemble)
{
    unsigned char local[9];
    const bool isNear = window_.left() > size;
    assemble(isNear ? window_.at : local);
    if (isNear)
        window_.at += size;
    else
        stream_.write(local, size);
}

inline void MessageWriter::writeLead(uint8_t lead)
{
    writeAssembled(1, [&](unsigned char *head) { head[0] = lead; });
}

template <typename Number>
inline void MessageWriter::writeHead(uint8_t lead, Number number)
{
    writeAssembled(1 + sizeof number,
                   [&](unsigned char *target) { putHead(target, lead, number); });
}

void MessageWriter::writeNil()
{
    writeLead(kNil);
}

void MessageWriter::writeBool(bool value)
{
    writeLead(value ? kTrue : kFalse);
}

void MessageWriter::writeUintApart(uint64_t value)
{
    unsigned char head[kMostHeadBytes];
    const auto size = static_cast<uint64_t>(putUint(head, value) - head);
    writeAssembled(size, [&](unsigned char *target) { copyBytes(target, head, size); });
}

void MessageWriter::writeInt(int64_t value)
{
    if (value >= 0)
        writeUint(static_cast<uint64_t>(value));
    else if (value >= -32)
        writeLead(static_cast<uint8_t>(value));
    else if (value >= INT8_MIN)
        writeHead(kSigned, static_cast<uint8_t>(value));
    else if (value >= INT16_MIN)
        writeHead(kSigned + 1, static_cast<uint16_t>(value));
    else if (value >= INT32_MIN)
        writeHead(kSigned + 2, static_cast<uint32_t>(value));
    else
        writeHead(kSigned + 3, static_cast<uint64_t>(value));
}

void MessageWriter::writeFloat(float value)
{
    writeHead(kFloat, std::bit_cast<uint32_t>(value));
}

void MessageWriter::writeDouble(double value)
{
    writeHead(kDouble, std::bit_cast<uint64_t>(value));
}

// Any string, in its two writes.
void MessageWriter::writeLongString(const char *text, uint64_t length)
{
    if (length < 32)
        writeLead(static_cast<uint8_t>(kFixString | length));
    else if (length <= 0xFF)
        writeHead(kString, static_cast<uint8_t>(length));
    else if (length <= 0xFFFF)
        writeHead(kString + 1, static_cast<uint16_t>(length));
    else
        writeHead(kString + 2, static_cast<uint32_t>(length));
    writeRaw(text, length);
}

void MessageWriter::writeBlob(const void *bytes, uint32_t size)
{
    if (size <= 0xFF)
        writeHead(kBlob, static_cast<uint8_t>(size));
    else if (size <= 0xFFFF)
        writeHead(kBlob + 1, static_cast<uint16_t>(size));
    else
        writeHead(kBlob + 2, size);
    writeRaw(bytes, size);
}

void MessageWriter::writeExt(uint8_t type, const void *bytes, uint64_t size)
{
    const auto length = static_cast<uint32_t>(size);
    if (length <= 16 && std::has_single_bit(length)) {
        writeHead(static_cast<uint8_t>(kFixExt + std::countr_zero(length)), type);
    } else if (length <= 0xFF) {
        writeHead(kExt, static_cast<uint16_t>(length << 8 | type));
    } else {
        const bool isWide = length > 0xFFFF;
        unsigned char head[6] = {static_cast<unsigned char>(isWide ? kExt + 2 : kExt + 1)};
        storeBigEndian(head + 1, isWide ? length : length << 16);
        head[isWide ? 5 : 3] = type;
        writeRaw(head, isWide ? 6 : 4);
    }
    writeRaw(bytes, length);
}

void MessageWriter::writeArrayHeader(uint32_t count)
{
    if (count < 16)
        writeLead(static_cast<uint8_t>(kFixArray | count));
    else if (count <= 0xFFFF)
        writeHead(kArray, static_cast<uint16_t>(count));
    else
        writeHead(kArray, count); // not 0xDD: our own deviation
}

void MessageWriter::writeMapHeader(uint32_t pairCount)
{
    if (pairCount < 16)
        writeLead(static_cast<uint8_t>(kFixMap | pairCount));
    else if (pairCount <= 0xFFFF)
        writeHead(kMap, static_cast<uint16_t>(pairCount));
    else
        writeHead(kMap + 1, pairCount);
}

// Of a map or array, only the head.
inline void MessageWriter::writeLeaf(const ObjectValue &value)
{
    switch (value.type()) {
    case ObjectType::Nil:
        return writeNil();
    case ObjectType::NegativeInteger:
        return writeInt(value.payload<int64_t>());
    case ObjectType::PositiveInteger:
        return writeUint(value.payload<uint64_t>());
    case ObjectType::String:
        return writeString(value.text(), value.size_);
    case ObjectType::Bool:
        return writeBool(value.payload<uint64_t>() != 0);
    case ObjectType::Float:
        return writeDouble(value.payload<double>());
    case ObjectType::Blob:
        return writeBlob(value.payload<const uint8_t *>(), value.size_);
    case ObjectType::Map:
        return writeMapHeader(value.size_);
    case ObjectType::Array:
        return writeArrayHeader(value.size_);
    }
    throw std::runtime_error("unrecognized object type.");
}

// Puts what most messages are made of straight into the window: text that lies in the value, and
// numbers that aren't negative. False when it is anything else, or may not fit.
inline bool MessageWriter::putLeaf(Window &window, const ObjectValue &value)
{
    constexpr uint64_t kMostBytes =
        std::max<uint64_t>(1 + ObjectValue::kMaxShortText, kMostHeadBytes);
    if (window.left() <= kMostBytes)
        return false;
    if (value.type() == ObjectType::PositiveInteger) {
        window.at = putUint(window.at, value.payload<uint64_t>());
        return true;
    }
    if (value.type() == ObjectType::String && value.size_ <= ObjectValue::kMaxShortText) {
        window.at[0] = static_cast<unsigned char>(kFixString | value.size_);
        copyBytes(window.at + 1, value.storage_, value.size_);
        window.at += 1 + value.size_;
        return true;
    }
    return false;
}

void MessageWriter::writeObject(const ObjectValue &value)
{
    struct Stretch
    {
        const ObjectValue *slot;
        uint64_t slots;
    };
    writeLeaf(value);
    if (value.slotCount() == 0)
        return;
    // A container goes off the path with its last slot, so that depth alone doesn't lengthen it.
    std::vector<Stretch> path{{value.slots(), value.slotCount()}};
    while (!path.empty()) {
        Stretch stretch = path.back();
        // A window of our own: the compiler can keep it in registers.
        Window window = window_;
        while (stretch.slots > 0 && putLeaf(window, *stretch.slot)) {
            ++stretch.slot;
            --stretch.slots;
        }
        window_ = window;
        if (stretch.slots <= 1)
            path.pop_back();
        else
            path.back() = {stretch.slot + 1, stretch.slots - 1};
        if (stretch.slots == 0)
            continue;
        writeLeaf(*stretch.slot);
        if (stretch.slot->slotCount() > 0)
            path.push_back({stretch.slot->slots(), stretch.slot->slotCount()});
    }
}

} // namespace tavu
