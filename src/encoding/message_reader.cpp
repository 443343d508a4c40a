#include "encoding/message_reader.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

namespace tavu {

namespace {

constexpr const char *kFailedToRead = "Failed to read.";

/// Long bodies come in pieces, so that memory follows the bytes and not the announced length.
constexpr uint64_t kPieceBytes = uint64_t(1) << 20;

/// How many entries get room before the first one comes. Only nesting can multiply what is
/// announced, so that deep containers get little.
uint32_t initialCapacity(uint32_t announced, uint64_t depth)
{
    return std::min<uint32_t>(announced, depth < 8 ? 1024 : 4);
}

} // namespace

bool MessageReader::readExactly(void *buffer, uint64_t byteCount)
{
    return stream_.read(buffer, byteCount) == byteCount;
}

bool MessageReader::readNumber(uint32_t byteCount, uint64_t &value)
{
    uint8_t bytes[8];
    if (!readExactly(bytes, byteCount))
        return false;
    value = 0;
    for (uint32_t i = 0; i < byteCount; ++i)
        value = value << 8 | bytes[i];
    return true;
}

bool MessageReader::acceptLength(ObjectType type, uint32_t byteCount)
{
    uint64_t length;
    if (!readNumber(byteCount, length))
        return false;
    (type == ObjectType::String ? textLength_ : lastLength_) = static_cast<uint32_t>(length);
    lastType_ = type;
    return true;
}

bool MessageReader::acceptUnsigned(uint32_t byteCount)
{
    if (!readNumber(byteCount, integer_))
        return false;
    lastType_ = ObjectType::PositiveInteger;
    return true;
}

/// The sign is that of the value, not that of the form.
bool MessageReader::acceptSigned(uint32_t byteCount)
{
    uint64_t value;
    if (!readNumber(byteCount, value))
        return false;
    const uint32_t unused = 64 - 8 * byteCount;
    integer_ = static_cast<uint64_t>(static_cast<int64_t>(value << unused) >> unused);
    lastType_ = static_cast<int64_t>(integer_) < 0 ? ObjectType::NegativeInteger
                                                   : ObjectType::PositiveInteger;
    return true;
}

/// Reads a head, and a number's body; a string's text stays in the stream.
bool MessageReader::readHead()
{
    uint8_t lead;
    if (!readExactly(&lead, 1))
        return false;
    if (lead <= 0x7F) {
        integer_ = lead;
        lastType_ = ObjectType::PositiveInteger;
    } else if (lead >= 0xE0) {
        integer_ = lead | ~uint64_t(0xFF);
        lastType_ = ObjectType::NegativeInteger;
    } else if (lead <= 0x8F) {
        lastLength_ = lead & 0x0F;
        lastType_ = ObjectType::Map;
    } else if (lead <= 0x9F) {
        lastLength_ = lead & 0x0F;
        lastType_ = ObjectType::Array;
    } else if (lead <= 0xBF) {
        textLength_ = lead & 0x1F;
        lastType_ = ObjectType::String;
    } else {
        return readLongHead(lead);
    }
    return true;
}

bool MessageReader::readLongHead(uint8_t lead)
{
    uint64_t bits;
    switch (lead) {
    case 0xC0:
        lastType_ = ObjectType::Nil;
        return true;
    case 0xC2:
    case 0xC3:
        boolValue_ = lead == 0xC3;
        lastType_ = ObjectType::Bool;
        return true;
    case 0xC4:
    case 0xC5:
    case 0xC6:
        return acceptLength(ObjectType::Blob, 1u << (lead - 0xC4));
    case 0xCA:
        if (!readNumber(4, bits))
            return false;
        floatValue_ = std::bit_cast<float>(static_cast<uint32_t>(bits));
        lastType_ = ObjectType::Float;
        return true;
    case 0xCB:
        if (!readNumber(8, bits))
            return false;
        floatValue_ = std::bit_cast<double>(bits);
        lastType_ = ObjectType::Float;
        return true;
    case 0xCC:
    case 0xCD:
    case 0xCE:
    case 0xCF:
        return acceptUnsigned(1u << (lead - 0xCC));
    case 0xD0:
    case 0xD1:
    case 0xD2:
    case 0xD3:
        return acceptSigned(1u << (lead - 0xD0));
    case 0xD9:
    case 0xDA:
    case 0xDB:
        return acceptLength(ObjectType::String, 1u << (lead - 0xD9));
    case 0xDC:
    case 0xDD:
        return acceptLength(ObjectType::Array, 2u << (lead - 0xDC));
    case 0xDE:
    case 0xDF:
        return acceptLength(ObjectType::Map, 2u << (lead - 0xDE));
    default:
        return false; // 0xC1, and the ext forms, which we don't have
    }
}

bool MessageReader::readStringBody()
{
    stringValue_.clear();
    uint64_t done = 0;
    do {
        const uint64_t piece = std::min(textLength_ - done, kPieceBytes);
        stringValue_.resize(static_cast<size_t>(done + piece));
        if (!readExactly(stringValue_.data() + done, piece))
            return false;
        done += piece;
    } while (done < textLength_);
    return true;
}

bool MessageReader::next()
{
    const ObjectType formerType = lastType_;
    if (!readHead())
        return false;
    if (lastType_ != ObjectType::String || readStringBody())
        return true;
    lastType_ = formerType;
    return false;
}

void MessageReader::requireNext()
{
    if (!next())
        throw std::runtime_error(kFailedToRead);
}

void MessageReader::requireHead()
{
    if (!readHead())
        throw std::runtime_error(kFailedToRead);
}

void MessageReader::require(ObjectType type, const char *text)
{
    requireNext();
    if (lastType_ != type)
        throw std::runtime_error(text);
}

uint32_t MessageReader::readArrayHeader()
{
    require(ObjectType::Array, "Expected array.");
    return lastLength_;
}

uint32_t MessageReader::readMapHeader()
{
    require(ObjectType::Map, "Expected map.");
    return lastLength_;
}

uint32_t MessageReader::readBlobHeader()
{
    require(ObjectType::Blob, "Expected blob.");
    return lastLength_;
}

bool MessageReader::readBool()
{
    require(ObjectType::Bool, "Expected boolean.");
    return boolValue_;
}

uint64_t MessageReader::readPosInt()
{
    require(ObjectType::PositiveInteger, "Expected pos integer.");
    return integer_;
}

int64_t MessageReader::readNegInt()
{
    require(ObjectType::NegativeInteger, "Expected neg integer.");
    return negValue();
}

int64_t MessageReader::readInt()
{
    requireNext();
    if (lastType_ != ObjectType::PositiveInteger && lastType_ != ObjectType::NegativeInteger)
        throw std::runtime_error("Expected integer.");
    if (lastType_ == ObjectType::PositiveInteger && integer_ > 0x7FFFFFFFFFFFFFFFull)
        throw std::runtime_error("Integer value out of range, expected int64_t.");
    return negValue();
}

void MessageReader::readString(std::string &target)
{
    require(ObjectType::String, "Expected string.");
    target = stringValue_;
}

void MessageReader::readBlobBody(void *buffer, uint32_t byteCount)
{
    if (lastType_ != ObjectType::Blob)
        throw std::runtime_error("Not a blob.");
    if (byteCount != lastLength_)
        throw std::runtime_error("Must read entire blob.");
    if (!readExactly(buffer, byteCount))
        throw std::runtime_error(kFailedToRead);
}

bool MessageReader::readRaw(void *buffer, uint64_t byteCount)
{
    return readExactly(buffer, byteCount);
}

void MessageReader::skipBytes(uint64_t byteCount)
{
    char discarded[4096];
    do {
        const uint64_t piece = std::min<uint64_t>(byteCount, sizeof discarded);
        if (!readExactly(discarded, piece))
            throw std::runtime_error(kFailedToRead);
        byteCount -= piece;
    } while (byteCount > 0);
}

void MessageReader::skipValue()
{
    // How many values are still to come is all that nesting means here.
    uint64_t toCome = 1;
    while (toCome > 0) {
        requireHead();
        --toCome;
        uint64_t below = 0;
        if (lastType_ == ObjectType::String)
            skipBytes(textLength_);
        else if (lastType_ == ObjectType::Blob)
            skipBytes(lastLength_);
        else if (lastType_ == ObjectType::Map)
            below = 2 * uint64_t(lastLength_);
        else if (lastType_ == ObjectType::Array)
            below = lastLength_;
        if (toCome > ~uint64_t(0) - below)
            throw std::runtime_error(kFailedToRead); // no stream has as many
        toCome += below;
    }
}

void MessageReader::findField(uint32_t &remaining, const char *name)
{
    const size_t nameLength = std::strlen(name);
    while (remaining > 0) {
        require(ObjectType::String, "Expected string.");
        const bool found = stringValue_.compare(0, std::string::npos, name, nameLength) == 0;
        if (!found)
            skipValue();
        --remaining;
        if (found)
            return;
    }
    throw std::runtime_error("Map field not found.");
}

/// Reads the text of the string whose head was read last into the nil value \a target.
void MessageReader::takeText(ObjectValue &target)
{
    const uint64_t length = textLength_;
    if (length < ObjectValue::kInlineText) {
        if (!readExactly(target.held_.inlineText, length))
            throw std::runtime_error(kFailedToRead);
        target.held_.inlineText[length] = '\0';
    } else {
        OwnedBlob text;
        uint64_t done = 0;
        while (done < length) {
            const uint64_t piece = std::min(length - done, std::max(done, kPieceBytes));
            void *grown = std::realloc(text.get(), static_cast<size_t>(done + piece + 1));
            if (!grown)
                throw std::bad_alloc();
            static_cast<void>(text.release());
            text.reset(static_cast<uint8_t *>(grown));
            if (!readExactly(text.get() + done, piece))
                throw std::runtime_error(kFailedToRead);
            done += piece;
        }
        text[static_cast<size_t>(length)] = '\0';
        target.held_.text = reinterpret_cast<char *>(text.release());
    }
    target.tag_ = ObjectType::String;
    target.size_ = static_cast<uint32_t>(length);
}

/// Reads one value into the nil value \a target; a container stays without its entries.
void MessageReader::takeValue(ObjectValue &target, uint64_t depth)
{
    requireHead();
    switch (lastType_) {
    case ObjectType::Nil:
        return;
    case ObjectType::NegativeInteger:
    case ObjectType::PositiveInteger:
        target.held_.positive = integer_;
        break;
    case ObjectType::String:
        return takeText(target);
    case ObjectType::Bool:
        target.held_.boolean = boolValue_;
        break;
    case ObjectType::Float:
        target.held_.number = floatValue_;
        break;
    case ObjectType::Blob: {
        OwnedBlob bytes = ObjectValue::allocateBlob(lastLength_);
        if (!readExactly(bytes.get(), lastLength_))
            throw std::runtime_error(kFailedToRead);
        target.held_.bytes = bytes.release();
        target.size_ = lastLength_;
        break;
    }
    case ObjectType::Map:
    case ObjectType::Array:
        target.held_.block = nullptr;
        target.tag_ = lastType_;
        target.reserve(initialCapacity(lastLength_, depth));
        return;
    default:
        throw std::runtime_error("Unrecognized object type.");
    }
    target.tag_ = lastType_;
}

void MessageReader::readObject(ObjectValue &target)
{
    struct OpenContainer
    {
        ObjectValue *value;
        uint32_t toCome; ///< entries
    };
    std::vector<OpenContainer> open;
    ObjectValue result;
    ObjectValue *value = &result;
    for (;;) {
        takeValue(*value, open.size());
        if (value->isContainer())
            open.push_back({value, lastLength_});
        while (!open.empty() && open.back().toCome == 0)
            open.pop_back();
        if (open.empty())
            break;
        // An entry's address is safe: its container doesn't grow before the entry is complete.
        --open.back().toCome;
        ObjectValue &container = *open.back().value;
        value = container.appendEntry();
        if (container.type() == ObjectType::Map) {
            requireHead();
            if (lastType_ != ObjectType::String)
                throw std::runtime_error("Expected string.");
            takeText(*value);
            value->cutAtNul();
            ++value;
        }
    }
    target = std::move(result);
}

} // namespace tavu
