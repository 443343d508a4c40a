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

    ObjectType lastType() const;
    uint32_t lastLength() const;
    int64_t negValue() const;
    uint64_t posValue() const;
    std::string stringValue() const;
    bool boolValue() const;
    double floatValue() const;

private:
    Stream &stream_;
};

} // namespace tavu
