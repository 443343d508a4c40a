#pragma once

#include "encoding/object_value.h"
#include "encoding/stream.h"

#include <cstdint>
#include <string>

namespace tavu {

/// Decodes MessagePack from a Stream, forward only, with no look-ahead. Raises std::runtime_error;
/// after an exception the stream stands wherever it stopped and the reader must not be used again.
class MessageReader
{
public:
    explicit MessageReader(Stream &stream) : stream_(stream) {}

    /// Reads one head (and a string's or number's body); false when it can't be read in full or is
    /// refused, and lastType() then keeps its value.
    bool next();

    uint32_t readArrayHeader();
    uint32_t readMapHeader();
    uint32_t readBlobHeader();
    bool readBool();
    uint64_t readPosInt();
    int64_t readNegInt();
    int64_t readInt();
    void readString(std::string &target);
    /// Reads the body that follows readBlobHeader() or next(), all of it or nothing.
    void readBlobBody(void *buffer, uint32_t byteCount);
    bool readRaw(void *buffer, uint64_t byteCount);

    void skipValue();
    /// Advances to the value of the pair called \a name among the \a remaining pairs of the open
    /// map.
    void findField(uint32_t &remaining, const char *name);
    void readObject(ObjectValue &target);

    ObjectType lastType() const { return lastType_; }
    uint32_t lastLength() const { return lastLength_; }
    int64_t negValue() const { return static_cast<int64_t>(integer_); }
    uint64_t posValue() const { return integer_; }
    std::string stringValue() const { return stringValue_; }
    bool boolValue() const { return boolValue_; }
    double floatValue() const { return floatValue_; }

private:
    bool readExactly(void *buffer, uint64_t byteCount);
    bool readNumber(uint32_t byteCount, uint64_t &value);
    bool readHead();
    bool readLongHead(uint8_t lead);
    bool acceptLength(ObjectType type, uint32_t byteCount);
    bool acceptUnsigned(uint32_t byteCount);
    bool acceptSigned(uint32_t byteCount);
    bool readStringBody();
    void requireNext();
    void requireHead();
    void require(ObjectType type, const char *text);
    void skipBytes(uint64_t byteCount);
    void takeValue(ObjectValue &target, uint64_t depth);
    void takeText(ObjectValue &target);

    Stream &stream_;
    uint32_t lastLength_ = 0;
    uint32_t textLength_ = 0; ///< bytes of the string whose head was read last
    uint64_t integer_ = 0;    ///< the last integer, of either sign
    std::string stringValue_; ///< keeps its capacity from value to value
    bool boolValue_ = false;
    double floatValue_ = 0;
    ObjectType lastType_ = ObjectType::Nil;
};

} // namespace tavu
